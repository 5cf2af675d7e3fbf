// What one client process holds of this server, over all its connections, and how far each kind may go.
//
// The limits are so wide that no honest client meets one. They keep a client that does its worst from using up what
// the others need: over one, the client gets an answer or is cut off, and everybody else goes on.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace host::rpc {

// --- One connection ---

// Requests whose fragments have not all come, and the stub data of each; over either, a protocol error.
inline constexpr std::size_t kMaxOpenRequests = 4;
inline constexpr std::size_t kMaxRequestBytes = 1u << 20;
// Over it an element of a bind or alter_context is rejected, and one PDU with more elements is refused.
inline constexpr std::size_t kMaxPresentationContexts = 32;
// With more unsent replies a connection is not read, until it is below the second figure.
inline constexpr std::size_t kUnsentHigh = 256u << 10;
inline constexpr std::size_t kUnsentLow = 64u << 10;

// --- One serialized handle ---

// Calls that stand in its line; over it, server too busy.
inline constexpr std::size_t kMaxLine = 64;

// --- One client process ---

// Over it a connection is closed when it is accepted; so is one that would take the last quarter of the descriptors.
inline constexpr unsigned kMaxConnectionsOfClient = 4096;
// Over any of these: server too busy.
inline constexpr unsigned kMaxHandlesOfClient = 4096;
inline constexpr unsigned kMaxAsynchronousCallsOfClient = 16384;
inline constexpr std::size_t kMaxRequestBytesOfClient = 8u << 20;  // in fragments and in calls made of them
// Of the calls that an interface admits at once.
constexpr unsigned CallsOfClient(unsigned maxCalls) {
  return maxCalls / 2 + maxCalls % 2;
}
// With more in all, each of its connections that has kUnsentLeast unsent is not read.
inline constexpr std::size_t kMaxUnsentOfClient = 8u << 20;
inline constexpr std::size_t kUnsentLeast = 4u << 10;

// Counted from any thread.
struct ClientShare {
  std::atomic<unsigned> connections{0};
  std::atomic<unsigned> handles{0};            // not closed and not run down
  std::atomic<unsigned> limitedCalls{0};       // synchronous calls without an outcome
  std::atomic<unsigned> asynchronousCalls{0};  // not ended
  std::atomic<std::size_t> requestBytes{0};
  std::atomic<std::size_t> unsentBytes{0};
};

// Part of a client's request bytes, given back at its end. One thread at a time.
class HeldBytes {
 public:
  explicit HeldBytes(std::shared_ptr<ClientShare> client, std::size_t size = 0) : client_(std::move(client)) {
    Set(size);
  }
  ~HeldBytes() { Set(0); }
  HeldBytes(const HeldBytes&) = delete;
  HeldBytes& operator=(const HeldBytes&) = delete;

  void Set(std::size_t size) { client_->requestBytes += size - std::exchange(size_, size); }

 private:
  const std::shared_ptr<ClientShare> client_;
  std::size_t size_ = 0;
};

// The shares by process. Polling thread only.
class ClientShares {
 public:
  // That of the process, for as long as something of it is left: connections, calls, handles.
  std::shared_ptr<ClientShare> Of(pid_t process, std::uint64_t startTime) {
    auto& known = shares_[{process, startTime}];
    if (auto share = known.lock()) return share;
    auto share = std::make_shared<ClientShare>();
    known = share;
    std::erase_if(shares_, [](const auto& entry) { return entry.second.expired(); });
    return share;
  }

 private:
  std::map<std::pair<pid_t, std::uint64_t>, std::weak_ptr<ClientShare>> shares_;
};

}  // namespace host::rpc
