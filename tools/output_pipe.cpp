#include "tools/output_pipe.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace tool {
namespace {

constexpr int kPipeCapacity = 65536;

void CloseEnd(int& end) {
  if (end >= 0) close(std::exchange(end, -1));
}

}  // namespace

OutputPipe::~OutputPipe() {
  CloseReader();
  CloseWriter();
}

bool OutputPipe::Open() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return false;
  reader_ = ends[0];
  writer_ = ends[1];
  return true;
}

std::string OutputPipe::WriterPath() const {
  return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(writer_);
}

void OutputPipe::CloseWriter() {
  CloseEnd(writer_);
}

void OutputPipe::CloseReader() {
  CloseEnd(reader_);
}

// No more than lies there now: a writer that never rests must not hold the reader.
bool OutputPipe::Relay(std::FILE* stream) {
  int waiting = 0;
  if (reader_ < 0 || ioctl(reader_, FIONREAD, &waiting) != 0) return true;
  char block[kPipeCapacity];
  do {
    const ssize_t got = read(reader_, block, static_cast<std::size_t>(std::clamp(waiting, 1, kPipeCapacity)));
    if (got == 0) CloseReader();
    if (got <= 0) return true;
    const auto size = static_cast<std::size_t>(got);
    if (std::fwrite(block, 1, size, stream) != size || std::fflush(stream) != 0) return false;
    waiting -= static_cast<int>(got);
  } while (waiting > 0);
  return true;
}

}  // namespace tool
