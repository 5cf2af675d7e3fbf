// A machine folder of its own for one test case.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "platform/host/base/machine_directory.h"

class TemporaryMachine {
 public:
  TemporaryMachine() {
    std::string pattern = (std::filesystem::temp_directory_path() / "hkd04a7-test-XXXXXX").string();
    root_ = mkdtemp(pattern.data());
    host::UseMachineDirectory(root_);
    std::string error;
    EXPECT_TRUE(host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error)) << error;
  }
  ~TemporaryMachine() { std::filesystem::remove_all(root_); }
  TemporaryMachine(const TemporaryMachine&) = delete;
  TemporaryMachine& operator=(const TemporaryMachine&) = delete;

  const std::string& Root() const { return root_; }
  std::string Runtime() const { return host::CurrentMachineDirectory().runtime; }

 private:
  std::string root_;
};
