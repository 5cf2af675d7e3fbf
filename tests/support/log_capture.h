// The debug lines of this process, as a test looks at them.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace support {

// Captures from construction to destruction. Any thread.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // The lines so far, oldest first, which are then forgotten.
  std::vector<std::string> Take();

  // Waits until `line` has come `times` times since the last Take; false after ten seconds without.
  bool WaitFor(std::string_view line, std::size_t times = 1);

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
};

}  // namespace support
