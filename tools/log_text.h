// Records of the debug output and of the event trace, made readable.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tool {

struct ShownRecord {
  std::string stamp;  // time and process: "12:34:56.789 [4711] "
  std::string text;   // what was written, on one line
};

// Reads one JSON record. Nothing when it is not one. A single line end at the end of a debug line is not shown, other
// control characters as \n, \t or \xNN.
std::optional<ShownRecord> ShowDebugRecord(const std::string& line);
std::optional<ShownRecord> ShowTraceRecord(const std::string& line);
std::optional<ShownRecord> ShowAppServiceRecord(const std::string& line);

// Folds a record that says the same as the one before it, from the same process.
class RepeatFolder {
 public:
  // The lines to print now: none for a repeat, else the count of the repeats before and the record.
  std::vector<std::string> Add(const ShownRecord& record);
  // The count so far, if there is one; the record may still repeat afterwards.
  std::vector<std::string> Flush();

 private:
  std::string last_;
  unsigned long repeats_ = 0;
};

}  // namespace tool
