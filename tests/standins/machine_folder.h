// A machine's folders for one test, which the test's process belongs to.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/host/base/machine_directory.h"

class MachineFolder {
 public:
  MachineFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "hkd04a7-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) ADD_FAILURE() << "no temporary folder";
    root_ = name;
    host::UseMachineDirectory(root_);
    std::string error;
    EXPECT_TRUE(host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error)) << error;
  }
  ~MachineFolder() { std::filesystem::remove_all(root_); }
  MachineFolder(const MachineFolder&) = delete;
  MachineFolder& operator=(const MachineFolder&) = delete;

  std::string Runtime() const { return host::CurrentMachineDirectory().runtime; }

 private:
  std::string root_;
};
