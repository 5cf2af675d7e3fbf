#include "bench/event_control.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace bench {

bool EventControl::AwaitRoom() {
  if (!Full()) return ended == 0;
  held = 1;
  for (std::uint32_t seen = read; ended == 0 && delivered - seen > kMostInFlight / 2; seen = read) {
    syscall(SYS_futex, &read, FUTEX_WAIT, seen, nullptr, nullptr, 0);
  }
  held = 0;
  return ended == 0;
}

void EventControl::CountRead() {
  ++read;
  if (held != 0 && InFlight() <= kMostInFlight / 2) syscall(SYS_futex, &read, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

EventControl& MapEventControl(const std::string& path) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  void* memory = MAP_FAILED;
  if (file >= 0 && ftruncate(file, sizeof(EventControl)) == 0) {
    memory = mmap(nullptr, sizeof(EventControl), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  }
  close(file);
  if (memory != MAP_FAILED) return *static_cast<EventControl*>(memory);
  std::perror(path.c_str());
  std::exit(1);
}

}  // namespace bench
