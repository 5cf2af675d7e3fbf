// One client connection: its socket, what has been read of it and what could not be written yet, its calls.
//
// Sending never waits: what the socket does not take is kept and written by the polling thread when it can. A
// connection that keeps too much, or whose client does over all its connections, is not read until the client has
// caught up, so it cannot ask for more.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

#include "platform/host/rpc/server_peer.h"

namespace host::rpc {

class ReplyBatch;
class ServerCall;

class ServerConnection {
 public:
  // Takes `socket` over; `id` is what `epoll` reports it as. Replies go through `batch` where that keeps them; both
  // outlive the connection.
  ServerConnection(std::uint64_t id, int socket, const Peer& peer, int epoll, ReplyBatch& batch);
  ~ServerConnection();
  ServerConnection(const ServerConnection&) = delete;
  ServerConnection& operator=(const ServerConnection&) = delete;

  std::uint64_t id() const { return id_; }
  const Peer& peer() const { return peer_; }

  // --- polling thread only ---

  // Has the socket watched from now on. False when the system cannot.
  bool Watch();
  // Reads once what has arrived into `room`. Its size, 0 when there was nothing yet, -1 at the end of the stream.
  ssize_t Receive(std::span<std::byte> room);
  // Writes what has been kept, as far as the socket takes it.
  void Flush();
  // Of a reply that the batch has kept and the socket has not taken as a whole: `sent` bytes of it are gone, or the
  // negative error came. The rest goes before all else.
  void TakeBack(std::span<const std::byte> reply, int sent);
  // Ends the connection: closes the socket and marks its calls as cancelled. Later sends are dropped.
  void Close();

  // --- any thread ---

  // False while the client has to catch up with its replies.
  bool MayRead() const { return !overfull_.load(std::memory_order_relaxed); }
  bool Closed() const { return closed_.load(std::memory_order_relaxed); }
  std::size_t UnsentBytes() const;

  void Send(std::span<const std::byte> bytes);

  // From now to its SendReply `call` is known by that number. False when another one is.
  bool AddCall(std::uint32_t callId, ServerCall& call);
  // The client has cancelled a call, if there is one of that number, and with `orphaned` wants no reply.
  void Cancel(std::uint32_t callId, bool orphaned);
  // Ends the call's number and sends its reply, in one step: the client may use the number again on reading it.
  void SendReply(std::uint32_t callId, std::span<const std::byte> bytes);

 private:
  struct CallInProgress {
    std::uint32_t id;
    ServerCall* call;  // null once it has ended
  };

  std::vector<CallInProgress>::iterator CallsFrom(std::uint32_t callId);
  bool IsInProgress(std::vector<CallInProgress>::iterator call, std::uint32_t callId) const;
  bool Batched() const;
  bool AddToBatch(std::span<const std::byte> bytes);
  std::size_t Write(std::span<const std::byte> bytes);
  void Break();
  void SendLocked(std::span<const std::byte> bytes);
  void UpdateInterest();
  void CountUnsent(std::size_t size);

  const std::uint64_t id_;
  const Peer peer_;
  const int epoll_;
  ReplyBatch& batch_;

  std::atomic<bool> overfull_{false};
  std::atomic<bool> closed_{false};

  mutable std::mutex lock_;  // guards all below, and every use of the socket but reading; taken last
  int socket_;
  std::uint64_t batchNumber_ = 0;  // of the batch that has kept a reply last
  bool broken_ = false;            // the client is gone; the polling thread finds the same and closes
  std::uint32_t interest_ = 0;
  std::vector<std::byte> unsent_;
  std::size_t unsentStart_ = 0;
  std::size_t unsentCounted_ = 0;      // in the client's share
  std::vector<CallInProgress> calls_;  // by number; nearly always one or none
  std::size_t endedCalls_ = 0;         // of them
};

}  // namespace host::rpc
