// One connected process, as the daemon sees it. Loop thread only.
#pragma once

#include <sys/types.h>
#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "machine/loop.h"
#include "machine/unique_descriptor.h"
#include "platform/host/link/frame.h"

namespace machine {

// The process at the other end, looked up once, when the connection was accepted.
struct Peer {
  pid_t pid = 0;
  // Clock ticks since boot, as in /proc/<pid>/stat; with the pid it names a process for good.
  std::uint64_t startTime = 0;
};

class Connection : public std::enable_shared_from_this<Connection> {
 public:
  using MessageHandler = std::function<void(const std::shared_ptr<Connection>&, const std::string& payload)>;

  Connection(Loop& loop, UniqueDescriptor socket, Peer peer, std::uint64_t id);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Begins to read; each whole message goes to `onMessage`; `onEnd` is called when the connection has ended and its
  // hooks have run. False when the socket cannot be watched.
  bool Start(MessageHandler onMessage, std::function<void()> onEnd);

  // Identifies what this process holds in the daemon; never used twice.
  std::uint64_t id() const { return id_; }
  const Peer& peer() const { return peer_; }
  bool open() const { return socket_.valid(); }

  // Queues a message. A peer that does not read for too long loses its connection.
  void Send(const nlohmann::json& message);

  // Ends the connection and runs the hooks, in the order they were added. Harmless when closed already.
  void Close();

  // `hook` runs once, when the connection ends for whatever reason, or when the machine boots. To be called on an
  // open connection.
  void OnClose(std::function<void()> hook) { closeHooks_.push_back(std::move(hook)); }

  // Runs and forgets the hooks: what the process holds goes, the connection stays. For a boot.
  void ReleaseHoldings();

  // Sends what is queued, waiting up to `limit`, for the last words of a daemon that goes down.
  void Flush(std::chrono::milliseconds limit);

 private:
  void HandleReady(std::uint32_t events);
  void ReadAvailable();
  void DeliverMessages();
  void WriteQueued();
  void CloseSoon();

  Loop& loop_;
  UniqueDescriptor socket_;
  const Peer peer_;
  const std::uint64_t id_;
  MessageHandler onMessage_;
  std::function<void()> onEnd_;
  host::FrameReader frames_;
  std::string unsent_;
  std::vector<std::function<void()>> closeHooks_;
};

}  // namespace machine
