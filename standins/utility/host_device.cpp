// The simulated machine's device, found through the environment of the process.
#include <mutex>
#include <optional>

#include "machine/device_answers.h"
#include "machine/device_map.h"
#include "machine/device_waiter.h"
#include "platform/host/base/machine_directory.h"
#include "standins/last_error.h"
#include "standins/utility/device_access.h"

namespace {

// The mapping of this process; looked for at each use until the machine has a device, then kept.
machine::DeviceMap* FindDevice() {
  static std::mutex lock;
  static std::unique_ptr<machine::DeviceMapping> mapping;
  const std::lock_guard guard(lock);
  if (mapping == nullptr)
    mapping = machine::DeviceMapping::OpenExisting(host::CurrentMachineDirectory().runtime, nullptr);
  return mapping == nullptr ? nullptr : &mapping->Map();
}

}  // namespace

std::uint32_t CallDevice(std::uint32_t function, std::uint32_t arg1, std::uint32_t arg2, std::uint32_t arg3,
                         std::uint32_t* word) {
  machine::DeviceMap* map = FindDevice();
  if (map == nullptr) return kFileNotFound;
  const machine::DeviceAnswer answer = machine::AnswerDeviceCall(*map, {function, arg1, arg2, arg3});
  *word = answer.word;
  return answer.success != 0 ? 0 : kGeneralFailure;
}

struct NotificationSource::Impl {
  std::optional<machine::DeviceWaiter> waiter;
  std::uint32_t error = 0;
};

NotificationSource::NotificationSource() : impl_(std::make_unique<Impl>()) {
  machine::DeviceMap* map = FindDevice();
  if (map == nullptr) {
    impl_->error = kFileNotFound;
    return;
  }
  impl_->waiter.emplace(*map);
  if (!impl_->waiter->Registered()) impl_->error = kNoSystemResources;
}

NotificationSource::~NotificationSource() = default;

std::uint32_t NotificationSource::Error() const {
  return impl_->error;
}

bool NotificationSource::Wait(std::uint32_t* status) {
  return impl_->waiter->Wait(status);
}

void NotificationSource::Cancel() {
  impl_->waiter->Cancel();
}
