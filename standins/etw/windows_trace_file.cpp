#include "standins/etw/trace_file.h"
#include "standins/last_error.h"
#include "standins/windows_library_path.h"

namespace {

class TraceFile {
 public:
  TraceFile()
      : handle_(CreateFileW(LibraryPathWithExtension(L".log").c_str(), FILE_APPEND_DATA,
                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {
  }
  ~TraceFile() {
    if (IsOpen()) CloseHandle(handle_);
  }
  TraceFile(const TraceFile&) = delete;
  TraceFile& operator=(const TraceFile&) = delete;

  bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

  bool Append(std::string_view record) const {
    DWORD written = 0;
    return WriteFile(handle_, record.data(), static_cast<DWORD>(record.size()), &written, nullptr) &&
           written == record.size();
  }

 private:
  HANDLE handle_;
};

}  // namespace

bool AppendTraceRecord(std::string_view record) {
  const TraceFile file;
  return file.IsOpen() && file.Append(record);
}

bool CanWriteTraceFile() {
  return TraceFile().IsOpen();
}

std::uint32_t CurrentProcess() {
  return GetCurrentProcessId();
}
