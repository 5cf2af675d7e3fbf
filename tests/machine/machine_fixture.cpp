#include "tests/machine/machine_fixture.h"

#include <stdlib.h>

#include <filesystem>
#include <thread>

#include "platform/host/base/machine_directory.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/registry/registry_control.h"

namespace machine_test {

using nlohmann::json;

TemporaryFolder::TemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "hkd04a7-machine-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
  EXPECT_FALSE(error) << path_ << ": " << error.message();
}

bool Eventually(const std::function<bool()>& condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

json Ask(const std::string& operation, json body) {
  body["op"] = operation;
  json reply = json::object();
  const unsigned error = host::MachineLink::Instance().Call(std::move(body), &reply);
  if (error != 0) reply["error"] = error;
  return reply;
}

unsigned Code(const std::string& operation, json body) {
  return Ask(operation, std::move(body)).value("error", 0u);
}

std::string ProgramBeside(const std::string& name) {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
}

namespace {

std::size_t CountEntries(const char* folder) {
  const std::filesystem::directory_iterator begin(folder);
  return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

}  // namespace

std::size_t CountDescriptors() {
  return CountEntries("/proc/self/fd");
}
std::size_t CountThreads() {
  return CountEntries("/proc/self/task");
}

MachineTest::MachineTest() {
  host::UseMachineDirectory(folder_.path());
}

MachineTest::~MachineTest() {
  Stop();
  host::CloseRegistry();
}

void MachineTest::Start(std::function<unsigned(const machine::ServiceLaunch&)> launcher) {
  machine::Options options;
  options.directory = host::CurrentMachineDirectory();
  options.launcher = std::move(launcher);
  machine_ = std::make_unique<machine::Machine>(std::move(options));
  std::string error;
  ASSERT_TRUE(machine_->Start(&error)) << error;
}

void MachineTest::Stop() {
  machine_.reset();
  host::MachineLink::Reset();
}

void MachineTest::CreateDummy(unsigned startType) {
  ASSERT_EQ(Code("service.create",
                 {{"name", "Dummy"}, {"program", ProgramBeside("machine-dummy-service")}, {"startType", startType}}),
            0u);
}

unsigned MachineTest::StartDummy(const std::string& behaviour) {
  return Code("service.start", {{"name", "Dummy"}, {"arguments", json::array({behaviour})}});
}

std::vector<std::string> MachineTest::History() {
  std::vector<std::string> kinds;
  const json reply = Ask("service.history", {{"name", "Dummy"}});
  for (const json& entry : reply.at("history")) {
    const auto kind = entry.at("kind").get<std::string>();
    kinds.push_back(kind == "state" ? std::to_string(entry.at("state").get<unsigned>()) : kind);
  }
  return kinds;
}

}  // namespace machine_test
