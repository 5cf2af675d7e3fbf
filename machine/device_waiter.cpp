#include "machine/device_waiter.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace machine {
namespace {

// std::atomic<uint32_t> is the bare word: asserted lock-free in device_map.h, and the kernel looks at 4 bytes.
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

void SleepWhile(std::atomic<std::uint32_t>& word, std::uint32_t value) {
  syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word), FUTEX_WAIT, value, nullptr, nullptr, 0);
}

void Signal(DeviceMap& map) {
  map.signal.fetch_add(1, std::memory_order_release);
  syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&map.signal), FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

bool HasWaiter(const DeviceMap& map) {
  return std::any_of(map.waiters.begin(), map.waiters.end(), [](const auto& slot) { return slot.used != 0; });
}

// Makes the calling thread the owner of a slot that nobody alive owns. Never waits: an owner takes the map's lock.
bool TryOwn(DeviceWaiterSlot& slot) {
  const int result = pthread_mutex_trylock(&slot.alive);
  if (result == EOWNERDEAD) pthread_mutex_consistent(&slot.alive);
  return result == 0 || result == EOWNERDEAD;
}

// The oldest notification that the ring still holds.
std::uint64_t OldestKept(const DeviceMap& map) {
  return map.notificationsRaised > kNotifications ? map.notificationsRaised - kNotifications : 0;
}

}  // namespace

std::uint64_t RaiseDeviceNotification(DeviceMap& map, std::uint32_t status) {
  std::uint64_t sequence = 0;
  {
    const DeviceLock lock(map);
    sequence = map.notificationsRaised;
    map.notifications[sequence % kNotifications] = {MonotonicNanoseconds(), 0, status};
    ++map.notificationsRaised;
  }
  Signal(map);
  return sequence;
}

void ReapDeviceWaiters(DeviceMap& map) {
  for (DeviceWaiterSlot& slot : map.waiters) {
    if (slot.used == 0 || !TryOwn(slot)) continue;
    slot.used = 0;
    pthread_mutex_unlock(&slot.alive);
  }
}

std::uint64_t OutstandingDeviceNotifications(const DeviceMap& map) {
  std::uint64_t delivered = HasWaiter(map) ? map.notificationsRaised : map.notificationsDelivered;
  for (const DeviceWaiterSlot& slot : map.waiters) {
    if (slot.used != 0) delivered = std::min(delivered, slot.delivered);
  }
  return map.notificationsRaised - delivered;
}

DeviceWaiter::DeviceWaiter(DeviceMap& map) : map_(map) {
  const DeviceLock lock(map_);
  ReapDeviceWaiters(map_);
  const std::uint64_t first = HasWaiter(map_) ? map_.notificationsRaised : map_.notificationsDelivered;
  const auto free =
      std::find_if(map_.waiters.begin(), map_.waiters.end(), [](auto& slot) { return slot.used == 0 && TryOwn(slot); });
  if (free == map_.waiters.end()) return;
  free->process = getpid();
  free->delivered = first;
  free->used = 1;
  slot_ = &*free;
}

DeviceWaiter::~DeviceWaiter() {
  if (slot_ == nullptr) return;
  const DeviceLock lock(map_);
  Confirm();
  slot_->used = 0;
  pthread_mutex_unlock(&slot_->alive);
}

void DeviceWaiter::Confirm() {
  if (!confirming_) return;
  confirming_ = false;
  ++slot_->delivered;
  map_.notificationsDelivered = std::max(map_.notificationsDelivered, slot_->delivered);
}

bool DeviceWaiter::Take(std::uint32_t* status) {
  const DeviceLock lock(map_);
  Confirm();
  if (slot_->delivered == map_.notificationsRaised || cancelled_) return false;
  slot_->delivered = std::max(slot_->delivered, OldestKept(map_));
  DeviceNotification& notification = map_.notifications[slot_->delivered % kNotifications];
  if (notification.deliveredAt == 0) notification.deliveredAt = MonotonicNanoseconds();
  *status = notification.status;
  confirming_ = true;
  return true;
}

bool DeviceWaiter::Wait(std::uint32_t* status) {
  while (true) {
    // Read before looking: what comes after the look changes the word, and the sleep ends at once.
    const std::uint32_t seen = map_.signal.load(std::memory_order_acquire);
    if (Take(status)) return true;
    if (cancelled_) return false;
    SleepWhile(map_.signal, seen);
  }
}

void DeviceWaiter::Cancel() {
  cancelled_ = true;
  Signal(map_);
}

}  // namespace machine
