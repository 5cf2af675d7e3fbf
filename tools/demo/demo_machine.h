// The machine of one demo: made for it, and gone after it on every path.
#pragma once

#include <memory>
#include <string>

#include "machine/device.h"
#include "tools/options.h"

namespace tool {

class DemoMachine {
 public:
  explicit DemoMachine(const Options& options) : options_(options) {}
  // Takes the machine down and removes its folder, if they are this object's.
  ~DemoMachine();
  DemoMachine(const DemoMachine&) = delete;
  DemoMachine& operator=(const DemoMachine&) = delete;

  // Brings a machine up and starts the service on it: at the directory that was chosen with --machine, else at a new
  // one. An exit code; a failure, also a machine that is up already, has been reported.
  int BringUp(bool chosen);

  machine::Device& Device() { return *device_; }
  const std::string& Directory() const { return directory_; }

 private:
  int ChooseDirectory(bool chosen);
  int PrepareDevice();

  const Options& options_;
  std::string directory_;  // for the command lines shown; empty: the user's own machine
  bool ownDirectory_ = false;
  bool up_ = false;
  std::unique_ptr<machine::Device> device_;
};

}  // namespace tool
