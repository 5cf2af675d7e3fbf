#include "machine/device.h"

#include <algorithm>

#include "machine/device_answers.h"
#include "machine/device_waiter.h"

namespace machine {
namespace {

constexpr std::uint32_t kInvalidBit = 0x80000000;

DeviceScript* FindOrMakeScript(DeviceMap& map, const DeviceFunction& call) {
  if (DeviceScript* script = FindDeviceScript(map, call)) return script;
  const auto free = std::find_if(map.scripts.begin(), map.scripts.end(), [](const auto& s) { return s.used == 0; });
  if (free == map.scripts.end()) return nullptr;
  free->call = call;
  free->hasLasting = 0;
  free->answers.Clear();
  free->used = 1;
  return &*free;
}

std::uint32_t* CapabilityWord(DeviceState& state, std::uint32_t function) {
  switch (function) {
    case 0x1000:
      return &state.switchCapability;
    case 0x1002:
      return &state.buttonCapability;
    case 0x1006:
      return &state.interruptCapability;
    case 0x1009:
      return &state.emergencyCapability;
    case 0x100F:
      return &state.phonePcCapability;
    case 0x1015:
      return &state.function1015Capability;
    case 0x101C:
      return &state.function101CCapability;
    default:
      return nullptr;
  }
}

// The first sequence number at or after `since` that a ring of `size` items still holds, `next` being the next to come.
std::uint64_t FirstKept(std::uint64_t since, std::uint64_t next, std::uint64_t size) {
  return std::max(since, next > size ? next - size : 0);
}

}  // namespace

std::unique_ptr<Device> Device::Open(const std::string& runtime, std::string* error) {
  std::unique_ptr<DeviceMapping> mapping = DeviceMapping::OpenOrCreate(runtime, error);
  if (mapping == nullptr) return nullptr;
  return std::unique_ptr<Device>(new Device(std::move(mapping)));
}

void Device::Reset() {
  const DeviceLock lock(Map());
  ResetDeviceState(Map().state);
  for (DeviceScript& script : Map().scripts) script.used = 0;
}

bool Device::Press(unsigned n) {
  return n >= 1 && n <= 31 && PressMask(1u << (n - 1));
}

bool Device::PressMask(std::uint32_t mask) {
  return Gather(&DeviceState::switchMask, mask);
}

bool Device::Button(std::uint32_t word) {
  return Push(&DeviceState::buttons, word);
}

bool Device::Sensor(std::uint32_t word) {
  return Push(&DeviceState::sensor, word);
}

bool Device::Ec(std::uint32_t word) {
  return Push(&DeviceState::embeddedController, word);
}

bool Device::Emergency(std::uint32_t word) {
  return Push(&DeviceState::emergency, word);
}

bool Device::PhonePc(std::uint32_t mask) {
  return Gather(&DeviceState::phonePcMask, mask);
}

bool Device::SetPhonePcAnswer(unsigned bit, std::uint32_t word) {
  if (bit >= kPhoneBits) return false;
  const DeviceLock lock(Map());
  Map().state.phonePcAnswers[bit] = word;
  return true;
}

bool Device::Function1015(std::uint32_t mask) {
  return Gather(&DeviceState::function1015Mask, mask);
}

bool Device::Function101C(std::uint32_t index, std::uint32_t word) {
  if (index == 0 || index > kFunction101CIndexes) return false;
  {
    const DeviceLock lock(Map());
    Map().state.function101C[index] = word;
  }
  Raise();
  return true;
}

void Device::SetFunction101CCount(std::uint32_t count) {
  const DeviceLock lock(Map());
  Map().state.function101CCount = count;
}

void Device::SetWake(std::uint32_t switchWord, std::uint32_t buttonWord) {
  const DeviceLock lock(Map());
  Map().state.switchWake = switchWord;
  Map().state.buttonWake = buttonWord;
}

bool Device::SetCapability(std::uint32_t function, std::uint32_t word) {
  const DeviceLock lock(Map());
  std::uint32_t* capability = CapabilityWord(Map().state, function);
  if (capability == nullptr) return false;
  *capability = word;
  return true;
}

bool Device::Script(const DeviceFunction& call, std::span<const DeviceAnswer> answers,
                    std::optional<DeviceAnswer> lasting) {
  const DeviceLock lock(Map());
  const DeviceScript* present = FindDeviceScript(Map(), call);
  if (answers.size() > kScriptDepth - (present != nullptr ? present->answers.count : 0)) return false;
  DeviceScript* script = FindOrMakeScript(Map(), call);
  if (script == nullptr) return false;
  for (const DeviceAnswer& answer : answers) script->answers.Push(answer);
  if (lasting) {
    script->lasting = *lasting;
    script->hasLasting = 1;
  }
  return true;
}

bool Device::Answers(const DeviceFunction& call, std::initializer_list<std::uint32_t> words) {
  std::vector<DeviceAnswer> answers;
  for (const std::uint32_t word : words) answers.push_back({1, word});
  return Script(call, answers);
}

void Device::ClearScript(const DeviceFunction& call) {
  const DeviceLock lock(Map());
  if (DeviceScript* script = FindDeviceScript(Map(), call)) script->used = 0;
}

std::uint64_t Device::Raise(std::uint32_t status) {
  return RaiseDeviceNotification(Map(), status);
}

DeviceCounts Device::Counts() {
  DeviceMap& map = Map();
  const DeviceLock lock(map);
  ReapDeviceWaiters(map);
  DeviceCounts counts = {};
  counts.notificationsRaised = map.notificationsRaised;
  counts.notificationsOutstanding = OutstandingDeviceNotifications(map);
  counts.callsAnswered = map.callsTraced;
  if (map.callsTraced != 0) counts.lastCallAt = map.calls[(map.callsTraced - 1) % kTracedCalls].at;
  counts.callsInProgress = map.callsInProgress.load(std::memory_order_relaxed);
  for (const DeviceWaiterSlot& slot : map.waiters) {
    if (slot.used != 0) counts.waiters.push_back(slot.process);
  }
  return counts;
}

std::vector<DeviceTrace> Device::Trace(std::uint64_t since) {
  DeviceMap& map = Map();
  const DeviceLock lock(map);
  std::vector<DeviceTrace> trace;
  for (std::uint64_t n = FirstKept(since, map.callsTraced, kTracedCalls); n < map.callsTraced; ++n) {
    trace.push_back({n, map.calls[n % kTracedCalls]});
  }
  return trace;
}

std::vector<NotificationTimes> Device::Notifications(std::uint64_t since) {
  DeviceMap& map = Map();
  const DeviceLock lock(map);
  std::vector<NotificationTimes> times;
  for (std::uint64_t n = FirstKept(since, map.notificationsRaised, kNotifications); n < map.notificationsRaised; ++n) {
    const DeviceNotification& one = map.notifications[n % kNotifications];
    times.push_back({n, one.raisedAt, one.deliveredAt, one.status});
  }
  return times;
}

bool Device::Push(PendingWords DeviceState::*words, std::uint32_t word) {
  {
    const DeviceLock lock(Map());
    if (!(Map().state.*words).Push(word)) return false;
  }
  Raise();
  return true;
}

bool Device::Gather(std::uint32_t DeviceState::*mask, std::uint32_t bits) {
  if (bits == 0 || (bits & kInvalidBit) != 0) return false;
  {
    const DeviceLock lock(Map());
    Map().state.*mask |= bits;
  }
  Raise();
  return true;
}

}  // namespace machine
