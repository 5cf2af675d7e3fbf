// The simulated machine's device, found through the environment of the process.
#include <memory>
#include <mutex>
#include <optional>

#include "machine/device_answers.h"
#include "machine/device_map.h"
#include "machine/device_waiter.h"
#include "platform/host/base/machine_directory.h"
#include "standins/last_error.h"
#include "standins/utility/device_access.h"

namespace {

// The mapping of this process; looked for at each use until the machine has a device, then kept. Whoever uses it shares
// it: a process that ends, or releases the library, in the middle of a wait gives up this one first.
std::shared_ptr<machine::DeviceMapping> FindDevice() {
  static std::mutex lock;
  static std::shared_ptr<machine::DeviceMapping> mapping;
  const std::lock_guard guard(lock);
  if (mapping == nullptr)
    mapping = machine::DeviceMapping::OpenExisting(host::CurrentMachineDirectory().runtime, nullptr);
  return mapping;
}

}  // namespace

std::uint32_t CallDevice(std::uint32_t function, std::uint32_t arg1, std::uint32_t arg2, std::uint32_t arg3,
                         std::uint32_t* word) {
  const std::shared_ptr<machine::DeviceMapping> device = FindDevice();
  if (device == nullptr) return kFileNotFound;
  const machine::DeviceAnswer answer = machine::AnswerDeviceCall(device->Map(), {function, arg1, arg2, arg3});
  *word = answer.word;
  return answer.success != 0 ? 0 : kGeneralFailure;
}

// The waiter goes before the mapping that it lies in.
struct NotificationSource::Impl {
  std::shared_ptr<machine::DeviceMapping> device = FindDevice();
  std::optional<machine::DeviceWaiter> waiter;
  std::uint32_t error = 0;
};

NotificationSource::NotificationSource() : impl_(std::make_unique<Impl>()) {
  if (impl_->device == nullptr) {
    impl_->error = kFileNotFound;
    return;
  }
  impl_->waiter.emplace(impl_->device->Map());
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
