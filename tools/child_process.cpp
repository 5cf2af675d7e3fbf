#include "tools/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <thread>

extern char** environ;

namespace tool {
namespace {

constexpr std::chrono::milliseconds kPollInterval{5};
constexpr std::chrono::seconds kEndPatience{3};  // between asking and killing

// What posix_spawn is told; freed on every path.
struct SpawnSettings {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;

  SpawnSettings() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
};

int Spawn(pid_t* pid, const std::string& program, const std::vector<std::string>& arguments,
          const SpawnSettings& settings) {
  std::vector<char*> vector{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) vector.push_back(const_cast<char*>(argument.c_str()));
  vector.push_back(nullptr);
  return posix_spawn(pid, program.c_str(), &settings.actions, &settings.attributes, vector.data(), environ);
}

}  // namespace

std::string ProgramFolder() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

ChildProcess::~ChildProcess() {
  Terminate();
  if (output_ >= 0) close(output_);
}

int ChildProcess::Start(const std::string& program, const std::vector<std::string>& arguments, Reads reads) {
  SpawnSettings settings;
  int ends[2] = {-1, -1};
  if (reads != Reads::Nothing) {
    if (pipe2(ends, O_CLOEXEC) != 0) return errno;
    posix_spawn_file_actions_adddup2(&settings.actions, ends[1], STDOUT_FILENO);
  }
  if (reads == Reads::OutputAndErrors) posix_spawn_file_actions_adddup2(&settings.actions, ends[1], STDERR_FILENO);
  const int error = Spawn(&pid_, program, arguments, settings);
  if (ends[1] >= 0) close(ends[1]);
  output_ = ends[0];
  if (error != 0) pid_ = 0;
  return error;
}

bool ChildProcess::ReadSome(std::chrono::milliseconds patience, std::string* text) {
  pollfd ready = {output_, POLLIN, 0};
  if (poll(&ready, 1, static_cast<int>(patience.count())) <= 0) return false;
  char block[4096];
  const ssize_t got = read(output_, block, sizeof block);
  if (got > 0) text->append(block, static_cast<std::size_t>(got));
  return got > 0;
}

std::optional<int> ChildProcess::Wait(std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (pid_ != 0 && !ended_) {
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == pid_) {
      ended_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    } else if (std::chrono::steady_clock::now() >= deadline) {
      break;
    } else {
      std::this_thread::sleep_for(kPollInterval);
    }
  }
  return ended_;
}

void ChildProcess::Terminate() {
  if (pid_ == 0 || Wait(std::chrono::milliseconds(0))) return;
  kill(pid_, SIGTERM);
  if (Wait(kEndPatience)) return;
  kill(pid_, SIGKILL);
  Wait(kEndPatience);
}

}  // namespace tool
