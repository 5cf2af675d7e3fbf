// Gives a test program a registry of its own: a temporary machine directory, gone at the end, when no key may be open.
// The program runs as LocalSystem, whose hive is always loaded.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "platform/host/base/machine_directory.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/registry/registry_control.h"

namespace {

class TemporaryRegistry : public ::testing::Environment {
 public:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "registry-XXXXXX").string();
    ASSERT_NE(nullptr, mkdtemp(pattern.data()));
    folder_ = pattern;
    host::UseMachineDirectory(folder_);
    std::string error;
    ASSERT_TRUE(host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error)) << error;
    host::SetOwnToken(host::SystemToken());
  }

  void TearDown() override {
    EXPECT_EQ(0u, host::OpenRegistryKeyCount());
    host::CloseRegistry();
    std::filesystem::remove_all(folder_);
  }

 private:
  std::string folder_;
};

[[maybe_unused]] const auto* const kEnvironment = ::testing::AddGlobalTestEnvironment(new TemporaryRegistry);

}  // namespace
