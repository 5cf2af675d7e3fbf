// The simulated machine: what the daemon runs, and what tests run inside their own process.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/host/base/machine_directory.h"

namespace machine {

// What the control manager asks for when it starts a service.
struct ServiceLaunch {
  std::string service;
  std::string program;
  std::vector<std::string> arguments;
};

struct Options {
  host::MachineDirectory directory;
  // The program that keeps the machine's processes; empty: "hkd04a7-machine" beside the running program.
  std::string keeperProgram;
  // Replaces starting a program: brings the service to its dispatcher inside this very process, usually on a new
  // thread. Called on the machine's thread; must not wait. Answers 0 or the Win32 code of the failed start.
  std::function<unsigned(const ServiceLaunch&)> launcher;
  // The process serves this machine alone, and what a keeper leaves behind when it is killed becomes its child
  // (PR_SET_CHILD_SUBREAPER): the machine ends it.
  bool adopts = false;
};

// A machine that is up from Start to Stop. Its parts are reached over the control socket alone, also by the process
// it runs in. Start, Stop and WaitUntilDown are called by one thread, or one after another.
class Machine {
 public:
  explicit Machine(Options options);
  // Stops the machine if it is up.
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  // Boots: clears what a boot clears, serves the control socket on a thread of its own, starts the automatic services.
  // False, with a sentence for people in `error`, when the machine cannot come up; nothing is left running then.
  bool Start(std::string* error);

  // Goes down: services are told, every process of the machine is ended, every connection is closed.
  void Stop();

  // Waits until the machine was told to go down over its control socket, or by RequestDown.
  void WaitUntilDown();

  // Begins to go down without waiting. Any thread.
  void RequestDown();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace machine
