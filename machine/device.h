// The simulated device as people and tests handle it: press, wake, script answers, look at what was asked.
//
// Works on the machine's mapping directly, from any process and any thread, with no daemon involved. The methods that
// report something pending also raise a notification; each returns false, having changed nothing, when a bit, an index
// or a word is out of range or no more words can be held.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "machine/device_map.h"

namespace machine {

constexpr std::uint32_t kOneTouchAnswer = 0x40000401;
constexpr std::uint32_t kIrOpeAnswer = 0x40000300;

// One call that the device answered.
struct DeviceTrace {
  std::uint64_t sequence;
  TracedCall record;
};

// One notification, by its sequence number.
struct NotificationTimes {
  std::uint64_t sequence;
  std::uint64_t raisedAt;
  std::uint64_t deliveredAt;  // 0: not yet
  std::uint32_t status;
};

struct DeviceCounts {
  std::uint64_t notificationsRaised;
  std::uint64_t notificationsOutstanding;  // not yet handed to the callback of every waiter; with no waiter, to none
  std::uint64_t callsAnswered;
  std::uint64_t lastCallAt;  // 0 when there was none
  std::uint32_t callsInProgress;
  std::vector<std::int32_t> waiters;  // process ids
};

class Device {
 public:
  // The device of the machine whose runtime folder is given, made when it is missing. Null with a message in `error`
  // (may be null) when the mapping cannot be opened.
  static std::unique_ptr<Device> Open(const std::string& runtime, std::string* error);

  // Back to a new device: everything present, nothing pending, no scripts. Waiters, notifications and the trace stay.
  void Reset();

  // Application switch n (1 to 31), or several at once as a mask with bit 31 clear. What is pending gathers in one
  // mask.
  bool Press(unsigned n);
  bool PressMask(std::uint32_t mask);

  // A button answer word, bit 30 set; OneTouch and IrOpe are the usual ones.
  bool Button(std::uint32_t word);
  bool OneTouch() { return Button(kOneTouchAnswer); }
  bool IrOpe() { return Button(kIrOpeAnswer); }

  // One answer word of the acceleration sensor, of the embedded controller, of the emergency notification.
  bool Sensor(std::uint32_t word);
  bool Ec(std::uint32_t word);
  bool Emergency(std::uint32_t word);

  // Bits of the phone-PC mask (bit 31 clear), and the lasting answer of one bit (0 to 30; that raises nothing).
  bool PhonePc(std::uint32_t mask);
  bool SetPhonePcAnswer(unsigned bit, std::uint32_t word);

  // Bits of function 0x1015's mask; the word of one index (1 to 64) of function 0x101C.
  bool Function1015(std::uint32_t mask);
  bool Function101C(std::uint32_t index, std::uint32_t word);
  // How many indexes of 0x101C the device says it has; read by the service at its start.
  void SetFunction101CCount(std::uint32_t count);

  // What the wake queries answer from now on; 0 is "not this one". Raises nothing.
  void SetWake(std::uint32_t switchWord, std::uint32_t buttonWord);

  // What the capability query of `function` (0x1000, 0x1002, 0x1006, 0x1009, 0x100F, 0x1015, 0x101C) answers. False for
  // any other function.
  bool SetCapability(std::uint32_t function, std::uint32_t word);

  // Queues answers for exactly this call, behind those already queued; each is given once, before the device's own
  // rules are asked. `lasting`, if given, answers every call after that. Raises nothing. False when there is no room.
  bool Script(const DeviceFunction& call, std::span<const DeviceAnswer> answers,
              std::optional<DeviceAnswer> lasting = std::nullopt);
  // The same with answers that all succeed.
  bool Answers(const DeviceFunction& call, std::initializer_list<std::uint32_t> words);
  // Forgets what was scripted for `call`, queued and lasting.
  void ClearScript(const DeviceFunction& call);

  // A notification with this completion status (0: the wait ended well), whatever is pending. Returns its sequence
  // number.
  std::uint64_t Raise(std::uint32_t status = 0);

  DeviceCounts Counts();

  // The calls answered, those with a sequence number from `since` on, oldest first; the ring keeps the last 65,536.
  std::vector<DeviceTrace> Trace(std::uint64_t since = 0);

  // The notifications from `since` on, oldest first; the ring keeps the last 4,096.
  std::vector<NotificationTimes> Notifications(std::uint64_t since = 0);

  // The mapping itself, for those that answer from it.
  DeviceMap& Map() { return mapping_->Map(); }

 private:
  explicit Device(std::unique_ptr<DeviceMapping> mapping) : mapping_(std::move(mapping)) {}
  bool Push(PendingWords DeviceState::*words, std::uint32_t word);
  bool Gather(std::uint32_t DeviceState::*mask, std::uint32_t bits);

  std::unique_ptr<DeviceMapping> mapping_;
};

}  // namespace machine
