// The simulated device's memory: a file `<runtime>/device.map` that every process of a machine maps.
//
// The device stand-in answers from it without a round trip; the tool, the daemon and tests change it through
// machine::Device (device.h). Everything below `lock` is read and written only while a DeviceLock is held, except where
// a member is atomic. All times are CLOCK_MONOTONIC in nanoseconds, so they compare across processes.
#pragma once

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace machine {

// One device function call as the device utility library passes it on.
struct DeviceFunction {
  std::uint32_t function;
  std::uint32_t arg1;
  std::uint32_t arg2;
  std::uint32_t arg3;
  bool operator==(const DeviceFunction&) const = default;
};

// What the device answers to a call: whether the call succeeds, and the answer word.
struct DeviceAnswer {
  std::uint32_t success;
  std::uint32_t word;
  bool operator==(const DeviceAnswer&) const = default;
};

// A first-in, first-out queue of fixed size. A process that dies within Push or Pop leaves it whole: `count` and `head`
// are written last.
template <typename T, std::size_t kSize>
struct SharedQueue {
  std::uint32_t head;
  std::uint32_t count;
  std::array<T, kSize> items;

  // False when the queue is full; nothing is changed then.
  bool Push(const T& item) {
    if (count == kSize) return false;
    items[(head + count) % kSize] = item;
    ++count;
    return true;
  }

  // False when the queue is empty; `item` is unchanged then.
  bool Pop(T* item) {
    if (count == 0) return false;
    *item = items[head];
    head = (head + 1) % kSize;
    --count;
    return true;
  }

  void Clear() { count = 0; }
};

constexpr std::size_t kScripts = 256;
constexpr std::size_t kScriptDepth = 256;
constexpr std::size_t kPendingWords = 256;
constexpr std::size_t kPhoneBits = 31;
constexpr std::size_t kFunction101CIndexes = 64;
constexpr std::size_t kWaiters = 16;
constexpr std::size_t kNotifications = 4096;
constexpr std::size_t kTracedCalls = 65536;

// Answers given for one call before the device's own rules are asked: each queued answer once, then, when `hasLasting`,
// the lasting one for ever.
struct DeviceScript {
  std::uint32_t used;
  DeviceFunction call;
  std::uint32_t hasLasting;
  DeviceAnswer lasting;
  SharedQueue<DeviceAnswer, kScriptDepth> answers;
};

using PendingWords = SharedQueue<std::uint32_t, kPendingWords>;

// What the device has and what is pending in it.
struct DeviceState {
  // Capability words, as the queries with the arguments 0 (0x1015: 4; 0x101C: 0 and 3) answer them.
  std::uint32_t switchCapability;
  std::uint32_t buttonCapability;
  std::uint32_t interruptCapability;
  std::uint32_t emergencyCapability;
  std::uint32_t phonePcCapability;
  std::uint32_t function1015Capability;
  std::uint32_t function101CCapability;
  std::uint32_t function101CCount;

  // What woke the machine; stays until it is set again.
  std::uint32_t switchWake;
  std::uint32_t buttonWake;

  // Masks: bits gather until they are read, reading clears them.
  std::uint32_t switchMask;
  std::uint32_t phonePcMask;
  std::uint32_t function1015Mask;

  // Words: each is answered once, in the order they came; with none pending the answer is 0.
  PendingWords buttons;
  PendingWords sensor;
  PendingWords embeddedController;
  PendingWords emergency;
  std::array<std::uint32_t, kPhoneBits> phonePcAnswers;              // lasting, per bit
  std::array<std::uint32_t, kFunction101CIndexes + 1> function101C;  // per index from 1; reading clears
};

struct DeviceNotification {
  std::uint64_t raisedAt;
  std::uint64_t deliveredAt;  // when the first waiter's callback was about to be called; 0 before that
  std::uint32_t status;       // the completion status handed to the callback
};

// A process that waits for notifications. `alive` is robust and held by the waiter's thread as long as it runs, so a
// slot whose process died is recognised by trying it.
struct DeviceWaiterSlot {
  pthread_mutex_t alive;
  std::uint32_t used;
  std::int32_t process;
  std::uint64_t delivered;  // notifications with a lower sequence number have been handed to its callback
};

struct TracedCall {
  std::uint64_t at;
  std::int32_t process;
  DeviceFunction call;
  DeviceAnswer answer;
};

struct DeviceMap {
  std::atomic<std::uint64_t> magic;  // written last when the map is made
  std::uint64_t size;
  pthread_mutex_t lock;  // process-shared, robust

  // Changes with every notification and every cancelled wait; waiters sleep on it.
  std::atomic<std::uint32_t> signal;
  std::atomic<std::uint32_t> callsInProgress;

  DeviceState state;
  std::array<DeviceScript, kScripts> scripts;

  // Sequence numbers count from 0; item n lies at n modulo the size of the ring.
  std::uint64_t notificationsRaised;
  std::uint64_t notificationsDelivered;  // to at least one waiter
  std::array<DeviceNotification, kNotifications> notifications;
  std::array<DeviceWaiterSlot, kWaiters> waiters;

  std::uint64_t callsTraced;
  std::array<TracedCall, kTracedCalls> calls;
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free && std::atomic<std::uint64_t>::is_always_lock_free);

// Owner of one process's mapping of the file. Several in one process see the same memory.
class DeviceMapping {
 public:
  // Maps `<runtime>/device.map`; makes it, with a device that has everything and has nothing pending, when it is
  // missing. Null, with a message for people in `error` (may be null), when that fails or another version wrote the
  // file.
  static std::unique_ptr<DeviceMapping> OpenOrCreate(const std::string& runtime, std::string* error);

  // The same without making it: null when the machine has no device.
  static std::unique_ptr<DeviceMapping> OpenExisting(const std::string& runtime, std::string* error);

  ~DeviceMapping();
  DeviceMapping(const DeviceMapping&) = delete;
  DeviceMapping& operator=(const DeviceMapping&) = delete;

  DeviceMap& Map() { return *map_; }

 private:
  explicit DeviceMapping(DeviceMap* map) : map_(map) {}
  static std::unique_ptr<DeviceMapping> Open(const std::string& runtime, bool create, std::string* error);

  DeviceMap* map_;
};

// Holds the map's lock for a scope. A holder that died is passed over: its calls no longer count as in progress.
class DeviceLock {
 public:
  explicit DeviceLock(DeviceMap& map);
  ~DeviceLock();
  DeviceLock(const DeviceLock&) = delete;
  DeviceLock& operator=(const DeviceLock&) = delete;

 private:
  DeviceMap& map_;
};

// CLOCK_MONOTONIC in nanoseconds.
std::uint64_t MonotonicNanoseconds();

}  // namespace machine
