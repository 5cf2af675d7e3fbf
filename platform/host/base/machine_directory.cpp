#include "platform/host/base/machine_directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>

namespace host {
namespace {

constexpr const char* kMachineVariable = "HKD04A7_MACHINE";

struct ChosenRoot {
  std::mutex mutex;
  std::optional<std::string> path;  // guarded by mutex
};

// Never destroyed: threads may still ask while the process ends. In static memory, since this is also part of libraries
// that are released again.
ChosenRoot& Chosen() {
  alignas(ChosenRoot) static std::byte memory[sizeof(ChosenRoot)];
  static auto* chosen = new (memory) ChosenRoot;
  return *chosen;
}

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

MachineDirectory UnderRoot(const std::string& root) {
  return {root + "/run", root + "/state"};
}

// One folder for each user under the temporary folder, for those without a run-time folder or a home.
std::string TemporaryFallback() {
  const std::string temporary = Environment("TMPDIR");
  return (temporary.empty() ? "/tmp" : temporary) + "/hkd04a7-" + std::to_string(geteuid());
}

std::string DefaultRuntime() {
  const std::string base = Environment("XDG_RUNTIME_DIR");
  return base.empty() ? TemporaryFallback() + "/run" : base + "/hkd04a7";
}

std::string DefaultState() {
  if (const std::string base = Environment("XDG_STATE_HOME"); !base.empty()) return base + "/hkd04a7";
  if (const std::string home = Environment("HOME"); !home.empty()) return home + "/.local/state/hkd04a7";
  return TemporaryFallback() + "/state";
}

bool Fail(std::string* error, const std::string& folder, const std::string& why) {
  if (error) *error = "cannot use the folder " + folder + " for the machine: " + why;
  return false;
}

// Opens without following a link in the last place: the temporary folder is open to everyone.
bool TakeFolder(const std::string& folder, std::string* error) {
  const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return Fail(error, folder, errno == ENOTDIR ? "it is not a folder" : std::strerror(errno));
  struct stat status {};
  const char* why = nullptr;
  if (fstat(fd, &status) != 0) {
    why = std::strerror(errno);
  } else if (status.st_uid != geteuid()) {
    why = "it belongs to someone else";
  } else if ((status.st_mode & 0777) != 0700 && fchmod(fd, 0700) != 0) {
    why = std::strerror(errno);
  }
  close(fd);
  return why ? Fail(error, folder, why) : true;
}

// Makes the folder and those above it that are missing, each 0700.
bool MakeFolder(const std::filesystem::path& folder, std::string* error) {
  std::error_code ignored;
  if (folder.has_relative_path() && !std::filesystem::exists(folder.parent_path(), ignored) &&
      !MakeFolder(folder.parent_path(), error)) {
    return false;
  }
  if (mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) return true;
  return Fail(error, folder, std::strerror(errno));
}

bool EnsureFolder(const std::string& folder, std::string* error) {
  return MakeFolder(folder, error) && TakeFolder(folder, error);
}

}  // namespace

MachineDirectory CurrentMachineDirectory() {
  {
    std::lock_guard lock(Chosen().mutex);
    if (Chosen().path) return UnderRoot(*Chosen().path);
  }
  const std::string root = Environment(kMachineVariable);
  return root.empty() ? MachineDirectory{DefaultRuntime(), DefaultState()} : UnderRoot(root);
}

void UseMachineDirectory(const std::string& root) {
  // Without a current folder the name stays as it is, and making the machine's folders tells what is wrong.
  std::error_code noCurrentFolder;
  const std::filesystem::path found = std::filesystem::absolute(root, noCurrentFolder);
  const std::string absolute = noCurrentFolder ? root : found.lexically_normal().string();
  std::lock_guard lock(Chosen().mutex);
  Chosen().path = absolute;
  setenv(kMachineVariable, absolute.c_str(), 1);
}

bool EnsureMachineDirectory(const MachineDirectory& directory, std::string* error) {
  // The shared parent of the temporary fallback is as open to others as its children would be.
  const std::string fallback = TemporaryFallback();
  const bool usesFallback =
      directory.runtime.starts_with(fallback + "/") || directory.state.starts_with(fallback + "/");
  if (usesFallback && !EnsureFolder(fallback, error)) return false;
  return EnsureFolder(directory.runtime, error) && EnsureFolder(directory.state, error);
}

}  // namespace host
