// The device as the utility stand-in reaches it: the simulated machine's mapping on the host, a script file on Windows.
#pragma once

#include <cstdint>
#include <memory>

// Puts the device's answer word in `word`. Answers 0 or the code of the failure: kFileNotFound when there is no device,
// kBadFormat for a script with an error, kGeneralFailure when the device fails the call. Any thread.
std::uint32_t CallDevice(std::uint32_t function, std::uint32_t arg1, std::uint32_t arg2, std::uint32_t arg3,
                         std::uint32_t* word);

// One wait for the device's notifications. Made, used and destroyed on one thread; Cancel may come from any other.
class NotificationSource {
 public:
  NotificationSource();
  ~NotificationSource();
  NotificationSource(const NotificationSource&) = delete;
  NotificationSource& operator=(const NotificationSource&) = delete;

  // 0 when the wait is registered with the device, else the code of the failure; Wait must not be called then.
  std::uint32_t Error() const;

  // Blocks until the device notifies; false once cancelled. The notification counts as delivered at the next Wait.
  bool Wait(std::uint32_t* status);

  void Cancel();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
