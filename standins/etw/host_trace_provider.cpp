#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <mutex>
#include <string>

#include "platform/host/base/machine_directory.h"
#include "standins/etw/trace_provider.h"
#include "standins/etw/trace_record.h"
#include "standins/last_error.h"

namespace {

// Kept open between records. A boot of the machine clears the file away under a running process, so each record looks
// whether it is still the one at its place.
class TraceFile {
 public:
  // The descriptor, or -1.
  int Open() {
    const std::string path = host::CurrentMachineDirectory().runtime + "/trace.log";
    struct stat found {};
    if (descriptor_ >= 0 && stat(path.c_str(), &found) == 0 && found.st_ino == opened_.st_ino &&
        found.st_dev == opened_.st_dev)
      return descriptor_;
    Close();
    descriptor_ = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor_ >= 0 && fstat(descriptor_, &opened_) != 0) Close();
    return descriptor_;
  }

  void Close() {
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
  }

 private:
  int descriptor_ = -1;
  struct stat opened_ {};
};

std::mutex traceFileLock;
TraceFile traceFile;  // guarded by the lock
unsigned registrations = 0;

}  // namespace

bool RegisterTraceProvider(std::uint64_t* registration) {
  *registration = 0;
  const std::lock_guard guard(traceFileLock);
  if (traceFile.Open() >= 0) {
    ++registrations;
    return true;
  }
  LeaveLastError(kFileNotFound);
  return false;
}

void UnregisterTraceProvider(std::uint64_t) {
  const std::lock_guard guard(traceFileLock);
  if (--registrations == 0) traceFile.Close();
}

bool WriteTraceEvent(std::uint64_t, const TraceEvent& event, std::span<const std::uint32_t> values) {
  static const auto process = static_cast<std::uint32_t>(getpid());
  const std::string record = FormatTraceRecord(process, event, values);
  const std::lock_guard guard(traceFileLock);
  const int descriptor = traceFile.Open();
  if (descriptor >= 0 && write(descriptor, record.data(), record.size()) == static_cast<ssize_t>(record.size()))
    return true;
  LeaveLastError(descriptor >= 0 ? kGeneralFailure : kFileNotFound);
  return false;
}
