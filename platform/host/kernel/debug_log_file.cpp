#include "platform/host/kernel/debug_log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>

#include "platform/host/base/json_text.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"

namespace host {
namespace {

std::int64_t Nanoseconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

std::string DebugRecord(std::u16string_view line) {
  return "{\"t\":" + std::to_string(Nanoseconds(CLOCK_MONOTONIC)) +
         ",\"wall\":" + std::to_string(Nanoseconds(CLOCK_REALTIME) / 1'000'000) +
         ",\"pid\":" + std::to_string(getpid()) + ",\"line\":" + JsonText(ToUtf8(line)) + "}\n";
}

bool DebugLogFile::IsCurrent(const std::string& path) const {
  struct stat status {};
  return fd_ >= 0 && path == path_ && fstat(fd_, &status) == 0 && status.st_nlink > 0;
}

void DebugLogFile::Open(const std::string& path) {
  if (fd_ >= 0) close(fd_);
  fd_ = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  path_ = path;
}

void DebugLogFile::Append(const std::string& record) {
  const std::string path = CurrentMachineDirectory().runtime + "/debug.log";
  std::lock_guard lock(mutex_);
  if (!IsCurrent(path)) Open(path);
  // One write: the kernel appends it whole. A log that cannot be written is no reason to fail the program.
  if (fd_ >= 0) static_cast<void>(!write(fd_, record.data(), record.size()));
}

}  // namespace host
