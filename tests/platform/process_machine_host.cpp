// On the host the contract tests of processes run over a machine, in a process that is LocalSystem's.
#include <gtest/gtest.h>

#include <memory>

#include "machine/machine.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/registry/registry_control.h"
#include "tests/platform/temporary_machine.h"

namespace {

class MachineEnvironment : public testing::Environment {
 public:
  void SetUp() override {
    folder_ = std::make_unique<TemporaryMachine>();
    machine::Options options;
    options.directory = host::CurrentMachineDirectory();
    machine_ = std::make_unique<machine::Machine>(std::move(options));
    std::string error;
    ASSERT_TRUE(machine_->Start(&error)) << error;
    host::SetOwnToken(host::SystemToken());
  }

  void TearDown() override {
    machine_.reset();
    host::MachineLink::Reset();
    host::CloseRegistry();
    folder_.reset();
  }

 private:
  std::unique_ptr<TemporaryMachine> folder_;
  std::unique_ptr<machine::Machine> machine_;
};

[[maybe_unused]] const testing::Environment* const kMachine = testing::AddGlobalTestEnvironment(new MachineEnvironment);

}  // namespace
