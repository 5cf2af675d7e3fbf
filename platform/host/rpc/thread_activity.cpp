#include "platform/host/rpc/thread_activity.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace host::rpc {

ThreadActivity::ThreadActivity() : thread_(gettid()), clock_(CLOCK_THREAD_CPUTIME_ID) {
  pthread_getcpuclockid(pthread_self(), &clock_);
}

std::chrono::nanoseconds ThreadActivity::Total() const {
  timespec time{};
  clock_gettime(clock_, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void ThreadActivity::StartCount() {
  start_ = Total();
}

std::chrono::nanoseconds ThreadActivity::ProcessorTime() const {
  return Total() - start_;
}

// The state is the letter behind the name, which stands in brackets and may hold any character (proc(5)).
bool ThreadActivity::Runnable() const {
  const std::string path = "/proc/self/task/" + std::to_string(thread_) + "/stat";
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  char text[128];
  const ssize_t size = read(file, text, sizeof(text));
  close(file);
  const std::string_view line(text, size > 0 ? static_cast<std::size_t>(size) : 0);
  const auto name = line.rfind(')');
  return name != line.npos && line.substr(name).starts_with(") R");
}

}  // namespace host::rpc
