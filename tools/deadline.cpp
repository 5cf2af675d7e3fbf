#include "tools/deadline.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <utility>

#include "tools/exit_codes.h"

namespace tool {
namespace {

std::string timeoutText;  // written before the alarm is set, read by its handler

void Expire(int) {
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, timeoutText.data(), timeoutText.size());
  std::_Exit(kTimedOut);
}

}  // namespace

Deadline::Deadline(std::chrono::seconds patience, std::string message) {
  timeoutText = std::move(message);
  std::signal(SIGALRM, Expire);
  alarm(static_cast<unsigned>(patience.count()));
}

Deadline::~Deadline() {
  alarm(0);
}

}  // namespace tool
