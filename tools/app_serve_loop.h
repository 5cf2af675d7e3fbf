// The app service that the tool plays: takes connections and messages, answers as its mode says.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "platform/host/link/frame.h"
#include "tools/app_serve_mode.h"
#include "tools/app_serve_receipts.h"

namespace tool {

class AppServeLoop {
 public:
  // `listener` is a listening socket, `ended` a descriptor that becomes readable when the machine has gone; both stay
  // the caller's. `leave` asks whether an idle service may end.
  AppServeLoop(const AppServeMode& mode, AppServeReceipts receipts, int listener, int ended,
               std::function<bool()> leave);
  ~AppServeLoop();
  AppServeLoop(const AppServeLoop&) = delete;
  AppServeLoop& operator=(const AppServeLoop&) = delete;

  // Serves until it is idle for too long (true) or the machine has gone (false).
  bool Run();

 private:
  using Clock = std::chrono::steady_clock;
  struct Client;
  struct Due;

  bool Wait();
  int Timeout() const;
  void Accept();
  bool Read(Client& client);
  bool Take(Client& client, const std::string& payload);
  void AnswerDue();
  bool Answer(const Due& due);
  void Drop(std::list<Client>::iterator client);
  bool IsIdle();

  const AppServeMode mode_;
  AppServeReceipts receipts_;
  const int listener_;
  const int ended_;
  const std::function<bool()> leave_;
  std::list<Client> clients_;
  std::list<Due> due_;  // in the order of their times
  Clock::time_point idleAt_;
};

}  // namespace tool
