// One process's wait for device notifications: what stands behind the device library's notification thread.
#pragma once

#include <atomic>
#include <cstdint>

#include "machine/device_map.h"

namespace machine {

// Puts a notification with `status` at the end of the ring and wakes the waiters. Returns its sequence number.
std::uint64_t RaiseDeviceNotification(DeviceMap& map, std::uint32_t status);

// Frees the slots of waiters whose process died. The lock is held.
void ReapDeviceWaiters(DeviceMap& map);

// How many notifications some waiter has still to be given; with no waiter, those given to none. The lock is held.
std::uint64_t OutstandingDeviceNotifications(const DeviceMap& map);

// Construction, Wait and destruction run on one thread, which owns the slot; Cancel may come from any thread while the
// object lives.
class DeviceWaiter {
 public:
  // Takes a slot. The first waiter of a device gets the notifications that nobody was given; a later one only new ones.
  explicit DeviceWaiter(DeviceMap& map);
  ~DeviceWaiter();
  DeviceWaiter(const DeviceWaiter&) = delete;
  DeviceWaiter& operator=(const DeviceWaiter&) = delete;

  // False when all slots are taken; Wait must not be called then.
  bool Registered() const { return slot_ != nullptr; }

  // Blocks until there is a notification; puts its status in `status`. False once cancelled. A notification counts as
  // delivered when Wait is called again or the waiter ends, that is, when its callback has returned.
  bool Wait(std::uint32_t* status);

  void Cancel();

 private:
  bool Take(std::uint32_t* status);
  void Confirm();

  DeviceMap& map_;
  DeviceWaiterSlot* slot_ = nullptr;
  bool confirming_ = false;
  std::atomic<bool> cancelled_ = false;
};

}  // namespace machine
