#include "platform/host/base/journal.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include "platform/host/base/json_text.h"
#include "platform/host/base/machine_directory.h"

namespace host {
namespace {

static_assert(JournalReaders::is_always_lock_free && sizeof(JournalReaders) == 4);

std::int64_t Nanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

// This process's mapping, made with the first use; null in a process without a machine.
const JournalReaders* OwnMapping() {
  static const JournalReaders* const readers = MapJournalReaders(CurrentMachineDirectory().runtime, false);
  return readers;
}

// Opens the file for each entry: a boot of the machine clears it away under a running process.
void Append(const std::string& record) {
  const std::string path = CurrentMachineDirectory().runtime + "/journal.log";
  const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) return;
  // One write: the kernel appends it whole. A journal that cannot be written is no reason to fail the call.
  static_cast<void>(!write(fd, record.data(), record.size()));
  close(fd);
}

}  // namespace

JournalEntry::JournalEntry() {
  const JournalReaders* readers = OwnMapping();
  if (readers != nullptr && readers->load(std::memory_order_relaxed) != 0) began_ = Nanoseconds();
}

void JournalEntry::Write(std::string_view target, std::string_view what) const {
  if (!IsWanted()) return;
  const std::int64_t now = Nanoseconds();
  Append("{\"t\":" + std::to_string(now) + ",\"took\":" + std::to_string(now - began_) + ",\"pid\":" +
         std::to_string(getpid()) + ",\"target\":" + JsonText(target) + ",\"what\":" + JsonText(what) + "}\n");
}

JournalReaders* MapJournalReaders(const std::string& runtime, bool make) {
  const int fd = open((runtime + "/journal.map").c_str(), O_RDWR | O_CLOEXEC | (make ? O_CREAT : 0), 0600);
  if (fd < 0) return nullptr;
  void* memory = MAP_FAILED;
  if (!make || ftruncate(fd, sizeof(JournalReaders)) == 0)
    memory = mmap(nullptr, sizeof(JournalReaders), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  close(fd);
  return memory != MAP_FAILED ? static_cast<JournalReaders*>(memory) : nullptr;
}

}  // namespace host
