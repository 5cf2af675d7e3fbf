// Small JSON messages over a socket with one thread at each end: how the daemon and a keeper talk.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>

#include "machine/unique_descriptor.h"
#include "platform/host/link/frame.h"

namespace machine {

class FrameChannel {
 public:
  explicit FrameChannel(UniqueDescriptor socket) : socket_(std::move(socket)) {}

  int descriptor() const { return socket_.get(); }

  // False when the other end has gone.
  bool Send(const nlohmann::json& message);

  // Reads what is there, waiting if there is nothing. False when the other end has gone.
  bool Fill();

  // The next whole message read by Fill, if there is one.
  std::optional<nlohmann::json> Take();

 private:
  UniqueDescriptor socket_;
  host::FrameReader frames_;
};

}  // namespace machine
