// A simulated machine with a user who is logged on, for measuring the targets behind the RPC step.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "bench/temporary_machine.h"
#include "machine/device.h"
#include "machine/machine.h"
#include "tools/road.h"

namespace bench {

// Ends the program, with a message, when something of it cannot be had. This process is LocalSystem in it.
class RoadMachine {
 public:
  RoadMachine();
  ~RoadMachine();
  RoadMachine(const RoadMachine&) = delete;
  RoadMachine& operator=(const RoadMachine&) = delete;

  // Starts the service beside a device that answers from memory (device_control.h) and waits until it listens to that
  // device; ends it. Its process.
  pid_t StartServiceOfMemory();
  void EndService();

  // Starts the service, and the app service of a package that is registered for switch 1.
  void StartServiceAndApp();

  // Presses switch 1 and waits until the app service has the message: milliseconds from the call that created the
  // client mode's process.
  double PressAndAwaitReceipt();

 private:
  void RegisterApp();
  void StartService(const std::string& program);

  TemporaryMachine folder_;
  std::unique_ptr<machine::Machine> machine_;
  std::unique_ptr<machine::Device> device_;
  std::unique_ptr<tool::RoadRecorder> recorder_;
  std::string userSid_;
};

}  // namespace bench
