// The service that this process runs for the control manager: what stands under the flat service calls.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "platform/host/services/services.h"

namespace host {

// A control as the manager sent it.
struct ReceivedControl {
  std::uint64_t number = 0;
  DWORD control = 0;
  DWORD eventType = 0;
  DWORD session = 0;
};

// One start of the service in this process, from its dispatcher's call to its end. Thread safe; no lock is held while
// the service routine or the control handler runs.
class ServiceInstance {
 public:
  ServiceInstance(std::string service, std::uint64_t number, std::vector<std::string> arguments)
      : service_(std::move(service)), number_(number), arguments_(std::move(arguments)) {}

  // Runs the service routine on a thread of its own and the controls on this one, until the service has stopped and its
  // routine has returned, or the connection to the manager ended. True when it has stopped.
  bool Serve(LPSERVICE_MAIN_FUNCTIONW routine);

  void SetHandler(LPHANDLER_FUNCTION_EX handler, LPVOID context);
  // A Win32 code.
  DWORD Report(const SERVICE_STATUS& status);

  void Receive(const ReceivedControl& control);
  void LoseConnection();

 private:
  void RunRoutine(LPSERVICE_MAIN_FUNCTIONW routine);
  bool NextControl(ReceivedControl* control);
  void Handle(const ReceivedControl& control);
  bool AwaitRoutine();

  const std::string service_;
  const std::uint64_t number_;
  const std::vector<std::string> arguments_;

  std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_.
  std::deque<ReceivedControl> controls_;
  LPHANDLER_FUNCTION_EX handler_ = nullptr;
  LPVOID context_ = nullptr;
  bool stopped_ = false;  // SERVICE_STOPPED was reported
  bool lost_ = false;
  bool routineReturned_ = false;
};

// The call of the dispatcher: asks the manager which service this process was started for, and serves it. A Win32 code.
DWORD RunDispatcher(LPSERVICE_MAIN_FUNCTIONW routine);

// The instance that runs now, or the last one that ran, to which late reports belong; null before the first.
std::shared_ptr<ServiceInstance> CurrentInstance();

}  // namespace host
