// A growing file of lines, read as it grows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

// Starts at the beginning of the file. The file may be missing, and may be replaced or cut (a boot does that): reading
// then starts over at the new beginning.
class FileFollower {
 public:
  explicit FileFollower(std::string path) : path_(std::move(path)) {}
  ~FileFollower();
  FileFollower(const FileFollower&) = delete;
  FileFollower& operator=(const FileFollower&) = delete;

  bool Exists() const;

  // The complete lines written since the last call, without line ends. A line still being written comes later, whole.
  std::vector<std::string> ReadNew();

 private:
  bool OpenCurrent();
  void Close();

  const std::string path_;
  int descriptor_ = -1;
  std::uint64_t offset_ = 0;
  std::string rest_;  // the beginning of a line
};

}  // namespace tool
