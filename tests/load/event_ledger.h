// How far the deliverer of events is, in memory that it shares with its clients' processes.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <system_error>

namespace load {

// Events are numbered from 1 on; the number stands in data1 in a form that the device takes for an emergency word.
constexpr std::uint32_t kEmergency = 35;
constexpr std::uint32_t WordOf(std::uint32_t number) {
  return number << 2 | 1;
}
constexpr std::uint32_t NumberOf(std::uint32_t word) {
  return word >> 2;
}

class EventLedger {
 public:
  // Maps the file, which is made where it is missing.
  explicit EventLedger(const std::string& path) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0 || ftruncate(file, sizeof(Numbers)) != 0)
      throw std::system_error(errno, std::generic_category(), path);
    void* mapping = mmap(nullptr, sizeof(Numbers), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (mapping == MAP_FAILED) throw std::system_error(errno, std::generic_category(), path);
    numbers_ = static_cast<Numbers*>(mapping);
  }
  ~EventLedger() { munmap(numbers_, sizeof(Numbers)); }
  EventLedger(const EventLedger&) = delete;
  EventLedger& operator=(const EventLedger&) = delete;

  // The last event that may have been delivered to anybody.
  std::atomic<std::uint32_t>& Begun() { return numbers_->begun; }
  // The last event that has been delivered to everybody.
  std::atomic<std::uint32_t>& Delivered() { return numbers_->delivered; }
  // How many subscriptions of clients have had all that was due to them.
  std::atomic<std::uint32_t>& Finished() { return numbers_->finished; }

 private:
  struct Numbers {
    std::atomic<std::uint32_t> begun;
    std::atomic<std::uint32_t> delivered;
    std::atomic<std::uint32_t> finished;
  };
  Numbers* numbers_;
};

}  // namespace load
