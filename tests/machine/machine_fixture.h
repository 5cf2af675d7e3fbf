// A machine in a temporary folder, run inside the test's process; its programs are real processes.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "machine/machine.h"

namespace machine_test {

// A new folder under the temporary one, removed at the end.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Tries until `condition` holds; false after 10 seconds.
bool Eventually(const std::function<bool()>& condition);

// One operation over this process's link: {"error": code} or the answer.
nlohmann::json Ask(const std::string& operation, nlohmann::json body = nlohmann::json::object());

// The code alone.
unsigned Code(const std::string& operation, nlohmann::json body = nlohmann::json::object());

// The path of a program beside the test.
std::string ProgramBeside(const std::string& name);

// Open descriptors and threads of this process.
std::size_t CountDescriptors();
std::size_t CountThreads();

class MachineTest : public testing::Test {
 protected:
  MachineTest();
  ~MachineTest() override;

  // Brings the machine up; once more after Stop.
  void Start(std::function<unsigned(const machine::ServiceLaunch&)> launcher = {});
  void Stop();

  // Configures the dummy service under the name "Dummy".
  void CreateDummy(unsigned startType = 3);
  nlohmann::json Query() { return Ask("service.query", {{"name", "Dummy"}}); }
  unsigned StateOfDummy() { return Query().at("state").get<unsigned>(); }
  // Starts it with its service argument; the manager's code.
  unsigned StartDummy(const std::string& behaviour = "");
  // The kinds of its history's entries; a state as its number.
  std::vector<std::string> History();

  TemporaryFolder folder_;

 private:
  std::unique_ptr<machine::Machine> machine_;
};

}  // namespace machine_test
