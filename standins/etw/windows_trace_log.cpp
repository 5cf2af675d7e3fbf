#include "standins/etw/windows_trace_log.h"

#include "standins/etw/trace_record.h"
#include "standins/windows_library_path.h"

void AppendToTraceLog(const TraceEvent& event, std::span<const std::uint32_t> values) {
  static const std::wstring path = LibraryPathWithExtension(L".log");
  const HANDLE file =
      CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  const std::string record = FormatTraceRecord(GetCurrentProcessId(), event, values);
  DWORD written = 0;
  WriteFile(file, record.data(), static_cast<DWORD>(record.size()), &written, nullptr);
  CloseHandle(file);
}
