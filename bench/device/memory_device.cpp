// What lies behind the exports of a device utility library that answers from memory, so that what is measured is the
// road to the device and from it, and not the device.
#include "bench/clock.h"
#include "bench/device_control.h"
#include "standins/utility/device_access.h"

namespace {

constexpr std::uint32_t kAppSwitch = 0x1000;

std::atomic<std::uint32_t> g_switched = 0;  // the bits of the switches that have not been asked for

}  // namespace

std::uint32_t CallDevice(std::uint32_t function, std::uint32_t arg1, std::uint32_t, std::uint32_t,
                         std::uint32_t* word) {
  *word = 0;
  if (function == kAppSwitch) *word = arg1 == 0 ? 1 : g_switched.exchange(0);
  return 0;
}

struct NotificationSource::Impl {
  bench::EventControl& control = bench::DeviceControl();
  std::uint32_t seen = control.notices;
  std::atomic<bool> cancelled = false;
};

NotificationSource::NotificationSource() : impl_(std::make_unique<Impl>()) {
  ++impl_->control.clients;
}

NotificationSource::~NotificationSource() {
  --impl_->control.clients;
}

std::uint32_t NotificationSource::Error() const {
  return 0;
}

bool NotificationSource::Wait(std::uint32_t* status) {
  impl_->control.AwaitNotice(impl_->seen++);
  if (impl_->cancelled) return false;
  *status = 0;
  g_switched = 1u << (bench::kNoticeEvent - 1);
  impl_->control.begun = bench::Now();
  return true;
}

void NotificationSource::Cancel() {
  impl_->cancelled = true;
  impl_->control.Notify();
}
