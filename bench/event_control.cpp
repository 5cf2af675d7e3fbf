#include "bench/event_control.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

void WaitWhile(std::atomic<std::uint32_t>& word, std::uint32_t value) {
  syscall(SYS_futex, &word, FUTEX_WAIT, value, nullptr, nullptr, 0);
}

void Wake(std::atomic<std::uint32_t>& word) {
  syscall(SYS_futex, &word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

}  // namespace

bool EventControl::AwaitRoom() {
  if (!Full()) return ended == 0;
  held = 1;
  for (std::uint32_t seen = read; ended == 0 && delivered - seen > kMostInFlight / 2; seen = read) {
    WaitWhile(read, seen);
  }
  held = 0;
  return ended == 0;
}

void EventControl::CountRead() {
  ++read;
  if (held != 0 && InFlight() <= kMostInFlight / 2) Wake(read);
}

void EventControl::Notify() {
  ++notices;
  Wake(notices);
}

void EventControl::AwaitNotice(std::uint32_t seen) {
  while (notices == seen) WaitWhile(notices, seen);
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
