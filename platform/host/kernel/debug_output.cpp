#include "platform/host/kernel/debug_output.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "platform/host/kernel/debug_log_file.h"

namespace {

struct Tap {
  std::mutex mutex;
  std::function<void(std::u16string_view)> take;  // guarded by mutex
  std::atomic<bool> present{false};
};

// Neither is ever destroyed: threads may still write lines while the process ends.
Tap& LineTap() {
  static auto* tap = new Tap;
  return *tap;
}

host::DebugLogFile& LogFile() {
  static auto* file = new host::DebugLogFile;
  return *file;
}

void HandToTap(std::u16string_view line) {
  if (!LineTap().present.load(std::memory_order_acquire)) return;
  std::lock_guard lock(LineTap().mutex);
  if (LineTap().take) LineTap().take(line);
}

}  // namespace

void OutputDebugStringW(LPCWSTR text) {
  const std::u16string_view line = text ? std::u16string_view(text) : std::u16string_view();
  LogFile().Append(host::DebugRecord(line));
  HandToTap(line);
}

namespace host {

void CaptureDebugOutput(std::function<void(std::u16string_view)> tap) {
  std::lock_guard lock(LineTap().mutex);
  LineTap().present = tap != nullptr;
  LineTap().take = std::move(tap);
}

}  // namespace host
