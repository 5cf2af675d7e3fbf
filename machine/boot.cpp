#include "machine/boot.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/host/devices/device_tree.h"
#include "platform/host/registry/registry_control.h"

namespace machine {

namespace {

using namespace std::string_view_literals;

constexpr std::array kKept = {"control"sv,    "machine.lock"sv, "debug.log"sv,   "trace.log"sv,        "output.log"sv,
                              "device.map"sv, "events.map"sv,   "journal.map"sv, "app_services.log"sv, "tasks.log"sv};
constexpr std::array kLogs = {"debug.log"sv, "trace.log"sv, "output.log"sv, "app_services.log"sv, "tasks.log"sv};
constexpr std::string_view kVolatileRegistry = "registry-volatile.db";

bool IsKept(const std::string& name) {
  return std::find(kKept.begin(), kKept.end(), name) != kKept.end() || name.starts_with(kVolatileRegistry);
}

}  // namespace

bool ClearRuntime(const host::MachineDirectory& directory, std::string* error) {
  std::vector<std::filesystem::path> leaving;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(directory.runtime, ignored)) {
    if (!IsKept(entry.path().filename().string())) leaving.push_back(entry.path());
  }
  for (const auto& path : leaving) std::filesystem::remove_all(path, ignored);
  const LSTATUS code = host::ClearVolatileRegistry(directory);
  if (code == 0) return true;
  *error = "the registry (" + directory.state + "/registry.db, " + directory.runtime + "/" +
           std::string(kVolatileRegistry) + ") cannot be used, error " + std::to_string(code);
  return false;
}

bool BootDevices(std::string* error) {
  const DWORD code = host::BootDeviceNodes();
  if (code == 0) return true;
  *error = "the device nodes cannot be written to the registry, error " + std::to_string(code);
  return false;
}

void RemoveSockets(const host::MachineDirectory& directory) {
  std::error_code ignored;
  for (const std::string_view name : {"control"sv, "ncalrpc"sv, "appservices"sv})
    std::filesystem::remove_all(directory.runtime + "/" + std::string(name), ignored);
}

void EmptyLogs(const host::MachineDirectory& directory) {
  for (const std::string_view log : kLogs) {
    // One that is not there is empty enough.
    [[maybe_unused]] const int result = truncate((directory.runtime + "/" + std::string(log)).c_str(), 0);
  }
}

}  // namespace machine
