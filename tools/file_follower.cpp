#include "tools/file_follower.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {
namespace {

constexpr std::size_t kBlock = 65536;

}  // namespace

FileFollower::~FileFollower() {
  Close();
}

bool FileFollower::Exists() const {
  struct stat found;
  return stat(path_.c_str(), &found) == 0;
}

void FileFollower::Close() {
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = -1;
  offset_ = 0;
  rest_.clear();
}

// Leaves the file open that the path names now.
bool FileFollower::OpenCurrent() {
  struct stat named, opened;
  const bool same = descriptor_ >= 0 && stat(path_.c_str(), &named) == 0 && fstat(descriptor_, &opened) == 0 &&
                    named.st_ino == opened.st_ino && named.st_dev == opened.st_dev &&
                    static_cast<std::uint64_t>(opened.st_size) >= offset_;
  if (same) return true;
  Close();
  descriptor_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  return descriptor_ >= 0;
}

std::vector<std::string> FileFollower::ReadNew() {
  std::vector<std::string> lines;
  if (!OpenCurrent()) return lines;
  char block[kBlock];
  ssize_t got;
  while ((got = pread(descriptor_, block, sizeof block, static_cast<off_t>(offset_))) > 0) {
    offset_ += static_cast<std::uint64_t>(got);
    rest_.append(block, static_cast<std::size_t>(got));
  }
  std::size_t begin = 0;
  for (std::size_t end; (end = rest_.find('\n', begin)) != std::string::npos; begin = end + 1)
    lines.push_back(rest_.substr(begin, end - begin));
  rest_.erase(0, begin);
  return lines;
}

}  // namespace tool
