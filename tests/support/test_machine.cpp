#include "tests/support/test_machine.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/kernel/thread_pool.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/registry/registry_control.h"

namespace support {

TestMachine::TestMachine(std::function<unsigned(const machine::ServiceLaunch&)> launcher) {
  std::string name = (std::filesystem::temp_directory_path() / "hkd04a7-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  folder_ = name;
  host::UseMachineDirectory(folder_);
  machine::Options options;
  options.directory = host::CurrentMachineDirectory();
  options.launcher = std::move(launcher);
  machine_ = std::make_unique<machine::Machine>(std::move(options));
  std::string error;
  if (!machine_->Start(&error)) throw std::runtime_error(error);
  device_ = machine::Device::Open(host::CurrentMachineDirectory().runtime, &error);
  if (device_ == nullptr) throw std::runtime_error(error);
}

TestMachine::~TestMachine() {
  host::ClearFaults();
  host::WaitForThreadPoolIdle();
  EXPECT_EQ(host::OpenRegistryKeyCount(), 0u);
  machine_->Stop();
  host::MachineLink::Reset();
  host::CloseRegistry();
  std::filesystem::remove_all(folder_);
}

unsigned TestMachine::Call(const std::string& operation, nlohmann::json body, nlohmann::json* reply) {
  body["op"] = operation;
  return host::MachineLink::Instance().Call(std::move(body), reply);
}

}  // namespace support
