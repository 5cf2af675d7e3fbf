// The app services that run: starts the program of one when somebody opens it, knows who listens, and ends programs
// whose user or package goes. Loop thread only.
//
// There is one of each name for a package, user and session. A process becomes the listener by itself, over its
// connection, and stays it while the connection lasts; the machine starts a program only where nobody listens.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "machine/loop.h"
#include "machine/package_store.h"
#include "machine/process_table.h"
#include "platform/host/link/app_service_frames.h"

namespace machine {

struct AppServiceTarget {
  std::string package;  // as the package store spells it
  std::string service;
  std::string userSid;
  std::uint32_t session = 0;

  auto operator<=>(const AppServiceTarget&) const = default;
};

struct AppServiceListener {
  std::uint64_t connection = 0;  // its number
  pid_t pid = 0;
  std::string socket;  // a whole path, on which it listens already
  bool refuses = false;
};

class AppServiceHost {
 public:
  // How an opening went: the socket where it is kOpened, else a sentence.
  using Answer = std::function<void(host::AppServiceOpening status, const std::string& text)>;

  AppServiceHost(Loop& loop, ProcessTable& processes);
  ~AppServiceHost();
  AppServiceHost(const AppServiceHost&) = delete;
  AppServiceHost& operator=(const AppServiceHost&) = delete;

  // Answers at once where somebody listens, else when `program`, started now, does: at most 10 seconds later.
  void Open(const AppServiceTarget& target, const ProcessRequest& program, Answer answer);

  // False where somebody else listens already.
  bool Listen(const AppServiceTarget& target, const AppServiceListener& listener);
  // No more. Harmless when `connection` is not the listener's. The socket's file goes.
  void Withdraw(const AppServiceTarget& target, std::uint64_t connection);
  // The same for a listener that nobody needs any more; false, with nothing changed, when somebody was sent to its
  // socket just now.
  bool Leave(const AppServiceTarget& target, std::uint64_t connection);

  // Ends the programs, listeners too, whose target `concerned` names.
  void End(const std::function<bool(const AppServiceTarget&)>& concerned);

  // From ShutDown to Boot no program is started; who waits is answered.
  void ShutDown();
  void Boot() { down_ = false; }

  // [{"package","service","userSid","session","pid","listening","refuses","waiting"}]
  nlohmann::json Report() const;

 private:
  struct Instance;
  using Instances = std::map<AppServiceTarget, std::unique_ptr<Instance>>;

  void Launch(const AppServiceTarget& target, Instance& instance);
  ProcessTable::Observer Observe(const AppServiceTarget& target, std::uint64_t launch);
  Instance* Launched(const AppServiceTarget& target, std::uint64_t launch);
  void HandleEnd(const AppServiceTarget& target, std::uint64_t launch, const std::string& reason);
  void HandleLimit(const AppServiceTarget& target);
  void Retire(const AppServiceTarget& target, const std::string& reason);
  void AnswerWaiting(Instance& instance, host::AppServiceOpening status, const std::string& text);
  void EndInstance(const AppServiceTarget& target);
  void Terminate(Instance& instance);

  Loop& loop_;
  ProcessTable& processes_;
  Instances instances_;
  std::uint64_t launches_ = 0;
  bool down_ = false;
};

}  // namespace machine
