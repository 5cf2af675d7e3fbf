#include <fcntl.h>
#include <unistd.h>

#include "platform/host/base/machine_directory.h"
#include "standins/etw/trace_provider.h"
#include "standins/etw/trace_record.h"
#include "standins/last_error.h"

namespace {

// Opened for each record: a boot of the machine clears the file away under a running process.
class TraceFile {
 public:
  TraceFile()
      : descriptor_(open((host::CurrentMachineDirectory().runtime + "/trace.log").c_str(),
                         O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600)) {}
  ~TraceFile() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  TraceFile(const TraceFile&) = delete;
  TraceFile& operator=(const TraceFile&) = delete;

  bool IsOpen() const { return descriptor_ >= 0; }

  bool Append(std::string_view record) const {
    return write(descriptor_, record.data(), record.size()) == static_cast<ssize_t>(record.size());
  }

 private:
  int descriptor_;
};

}  // namespace

bool RegisterTraceProvider(std::uint64_t* registration) {
  *registration = 0;
  if (TraceFile().IsOpen()) return true;
  LeaveLastError(kFileNotFound);
  return false;
}

void UnregisterTraceProvider(std::uint64_t) {}

bool WriteTraceEvent(std::uint64_t, const TraceEvent& event, std::span<const std::uint32_t> values) {
  const TraceFile file;
  const auto process = static_cast<std::uint32_t>(getpid());
  if (file.IsOpen() && file.Append(FormatTraceRecord(process, event, values))) return true;
  LeaveLastError(file.IsOpen() ? kGeneralFailure : kFileNotFound);
  return false;
}
