// This process's end of a connection to an app service: requests out, answers in.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/host/link/frame.h"
#include "platform/host/rpc/client_receiver.h"
#include "platform/host/runtime/app_service_message.h"

namespace host::runtime {

// Lives while a connection or an unanswered request holds it; the connection ends with it. Thread safe.
class AppServiceChannel final : public rpc::ReceiverSource, public std::enable_shared_from_this<AppServiceChannel> {
 public:
  // Called once, on the receiving thread or from Send: with what the app service answered, or with nothing when the
  // connection ended before. Throws nothing.
  using OnAnswer = std::function<void(Reference<ValueSet> message)>;

  // Null when nobody listens there.
  static std::shared_ptr<AppServiceChannel> Connect(const std::string& socketPath);

  explicit AppServiceChannel(int socket) : socket_(socket) {}
  ~AppServiceChannel() override;

  // A number for a request.
  std::uint64_t NextId();

  // Sends the request of the number `id`; never waits for the app service. `onAnswer` keeps the channel if it holds it.
  void Send(std::uint64_t id, const std::string& request, OnAnswer onAnswer);

  // Nobody wants the answer any more.
  void Forget(std::uint64_t id);

  void OnReady(std::uint32_t events) override;

 private:
  using Pending = std::map<std::uint64_t, OnAnswer>;

  bool WatchLocked();
  bool FlushLocked();
  bool Receive();
  bool TakeAnswers();
  void Lose();

  const int socket_;
  std::mutex mutex_;
  std::uint64_t lastId_ = 0;  // and what follows: guarded by mutex_
  Pending pending_;
  std::string unsent_;
  bool watched_ = false;
  bool lost_ = false;
  FrameReader frames_;  // the receiving thread's
};

}  // namespace host::runtime
