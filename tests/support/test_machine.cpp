#include "tests/support/test_machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/identity/thread_token.h"
#include "platform/host/kernel/handle_table.h"
#include "platform/host/kernel/memory.h"
#include "platform/host/kernel/thread_pool.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/registry/registry_control.h"
#include "platform/host/rpc/server_status.h"
#include "platform/host/runtime/runtime_control.h"
#include "platform/services.h"
#include "platform/task_scheduler.h"

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

namespace {

// Connections and rundowns end a moment after their client has gone.
bool RpcIsAtRest() {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (host::rpc::OpenCallCount() + host::rpc::ContextHandleCount() + host::rpc::ConnectionCount() != 0) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// The receiving thread lets go of an operation a moment after its handler has been called.
bool RuntimeIsAtRest() {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (host::LiveRuntimeObjects() + host::LiveRuntimeStrings() != 0) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// The RPC runtime's threads and its endpoint live as long as the process and are not looked at.
void ExpectNothingLeftOpen() {
  EXPECT_TRUE(RpcIsAtRest()) << host::rpc::OpenCallCount() << " calls, " << host::rpc::ContextHandleCount()
                             << " context handles, " << host::rpc::ConnectionCount() << " connections";
  host::WaitForThreadPoolIdle();
  EXPECT_TRUE(RuntimeIsAtRest()) << host::LiveRuntimeObjects() << " objects, " << host::LiveRuntimeStrings()
                                 << " strings of the runtime";
  EXPECT_THAT(host::OpenHandleCounts(), testing::IsEmpty());
  EXPECT_EQ(host::OpenRegistryKeyCount(), 0u);
  EXPECT_EQ(host::OpenServiceHandleCount(), 0u);
  EXPECT_EQ(host::LocalBlockCount(), 0);
  EXPECT_EQ(host::LiveStrings() + host::LiveArrays() + host::LiveTaskObjects(), 0);
  EXPECT_EQ(host::LeftoverImpersonations(), 0u);
}

}  // namespace

TestMachine::~TestMachine() {
  host::ClearFaults();
  host::RestoreRuntimeClasses();
  ExpectNothingLeftOpen();
  machine_->Stop();
  host::MachineLink::Reset();
  host::CloseRegistry();
  host::SetOwnToken(std::nullopt);
  std::filesystem::remove_all(folder_);
}

unsigned TestMachine::Call(const std::string& operation, nlohmann::json body, nlohmann::json* reply) {
  body["op"] = operation;
  return host::MachineLink::Instance().Call(std::move(body), reply);
}

}  // namespace support
