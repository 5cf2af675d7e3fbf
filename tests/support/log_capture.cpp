#include "tests/support/log_capture.h"

#include <algorithm>
#include <utility>

#include "platform/host/base/text.h"
#include "platform/host/kernel/debug_output.h"

namespace support {

LogCapture::LogCapture() {
  host::CaptureDebugOutput([this](std::u16string_view line) {
    const std::lock_guard hold(lock_);
    lines_.push_back(host::ToUtf8(line));
    changed_.notify_all();
  });
}

LogCapture::~LogCapture() {
  host::CaptureDebugOutput({});
}

std::vector<std::string> LogCapture::Take() {
  const std::lock_guard hold(lock_);
  return std::exchange(lines_, {});
}

bool LogCapture::WaitFor(std::string_view line, std::size_t times) {
  std::unique_lock hold(lock_);
  return changed_.wait_for(hold, std::chrono::seconds(10), [&] {
    return static_cast<std::size_t>(std::count(lines_.begin(), lines_.end(), line)) >= times;
  });
}

}  // namespace support
