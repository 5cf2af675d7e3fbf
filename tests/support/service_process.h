// The service inside the test's process, under the machine's control manager.
#pragma once

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/support/test_machine.h"

namespace support {

// The machine with the service configured and its log switched on, but not started. The service is the whole product
// from its entry on; its "process" is a thread, and this process stands for it: LocalSystem, in session 0. Stopped at
// the end if it runs.
class ServiceProcess {
 public:
  ServiceProcess();
  ~ServiceProcess();

  // How many indexes of function 0x101C the device has.
  static constexpr std::uint32_t kLast101CIndex = 3;

  TestMachine& Machine() { return machine_; }
  machine::Device& Device() { return machine_.Device(); }
  LogCapture& Log() { return log_; }

  // Starts the service and waits until it reports that it runs. 0 or the manager's code.
  unsigned Start();
  // Starts it and waits until the first wake check and poll are over, so that the worker is idle.
  void StartAndSettle();
  // Asks it to stop and waits until it has. 0 or the manager's code.
  unsigned Stop();
  // Waits until the service has stopped, for whatever reason.
  void AwaitStopped();

  // Sends a control as the manager would; the handler's answer.
  unsigned Control(unsigned control, unsigned eventType = 0, unsigned session = 0);

  // Waits until the worker has polled the device `times` times since the start of the service, and is idle again.
  void AwaitPolls(std::size_t times);
  // How often it has been polled so far.
  std::size_t Polls();
  // Raises a notification and waits until the poll that answers it is over.
  void Poll();

  // The states reported so far, as "4 (0, 0)": state, exit code, service-specific code.
  std::vector<std::string> ReportedStates();
  // What RunProcess returned; after the service has stopped.
  int ExitCode();

 private:
  void Join();

  TestMachine machine_;
  LogCapture log_;
  std::thread process_;
  int exitCode_ = 0;
};

}  // namespace support
