// The machine's debug log from the side of a process that writes it.
#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace host {

// One record of the log, its line end included.
std::string DebugRecord(std::u16string_view line);

// Appends records to `<runtime>/debug.log`, opened once and again when the machine's folder was cleared or another
// machine was chosen. Any thread.
class DebugLogFile {
 public:
  void Append(const std::string& record);

 private:
  bool IsCurrent(const std::string& path) const;
  void Open(const std::string& path);

  std::mutex mutex_;
  int fd_ = -1;
  std::string path_;
};

}  // namespace host
