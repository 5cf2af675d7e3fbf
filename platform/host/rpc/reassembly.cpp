#include "platform/host/rpc/reassembly.h"

#include <utility>

namespace host::rpc {

Reassembly::Outcome Reassembly::Add(const PduHeader& header, std::uint16_t contextId, std::uint16_t procedure,
                                    std::span<const std::byte> stub, Message& message) {
  auto found = open_.find(header.callId);
  if (header.IsFirst() != (found == open_.end())) {
    Drop(header.callId);
    return Outcome::OutOfOrder;
  }
  if (header.IsFirst()) {
    if (open_.size() >= limits_.openMessages) return Outcome::TooLarge;
    found = open_.emplace(header.callId, Message{contextId, procedure, {}}).first;
  }
  auto& bytes = found->second.stub;
  if (stub.size() > limits_.messageBytes - bytes.size()) {
    Drop(header.callId);
    return Outcome::TooLarge;
  }
  bytes.insert(bytes.end(), stub.begin(), stub.end());
  bytes_ += stub.size();
  if (!header.IsLast()) return Outcome::Incomplete;
  bytes_ -= bytes.size();
  message = std::move(found->second);
  open_.erase(found);
  return Outcome::Complete;
}

void Reassembly::Drop(std::uint32_t callId) {
  const auto found = open_.find(callId);
  if (found == open_.end()) return;
  bytes_ -= found->second.stub.size();
  open_.erase(found);
}

}  // namespace host::rpc
