// A small simulated machine inside the test's process.
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "machine/device.h"
#include "machine/machine.h"

namespace support {

// Up from construction to destruction, in a temporary folder of its own; this process belongs to it. At the end nothing
// that belongs to it may be left open in this process: handles, registry keys, libraries.
class TestMachine {
 public:
  // `launcher` brings a service to its dispatcher inside this process; see machine::Options.
  explicit TestMachine(std::function<unsigned(const machine::ServiceLaunch&)> launcher = {});
  ~TestMachine();
  TestMachine(const TestMachine&) = delete;
  TestMachine& operator=(const TestMachine&) = delete;

  machine::Device& Device() { return *device_; }

  // One operation of the machine. 0 or the Win32 code of its refusal; `reply` may be null.
  unsigned Call(const std::string& operation, nlohmann::json body, nlohmann::json* reply = nullptr);

 private:
  std::string folder_;
  std::unique_ptr<machine::Machine> machine_;
  std::unique_ptr<machine::Device> device_;
};

}  // namespace support
