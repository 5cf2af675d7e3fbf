// A non-recursive lock that clang's thread-safety analysis understands (it does not see std::mutex).
//
// Lock order of the whole product: the subscription list (g_RpcEventNotifyListLock), then one subscription. The other
// locks are leaves: nothing is locked while one of them is held.
#pragma once

#include <mutex>

#if defined(__clang__)
#define HKD_ANNOTATE(attribute) __attribute__((attribute))
#else
#define HKD_ANNOTATE(attribute)
#endif

#define HKD_GUARDED_BY(lock) HKD_ANNOTATE(guarded_by(lock))
#define HKD_REQUIRES(lock) HKD_ANNOTATE(requires_capability(lock))
#define HKD_EXCLUDES(lock) HKD_ANNOTATE(locks_excluded(lock))

namespace Quorvex::PC::Common {

class HKD_ANNOTATE(capability("mutex")) Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Lock() HKD_ANNOTATE(acquire_capability()) { mutex_.lock(); }
  bool TryLock() HKD_ANNOTATE(try_acquire_capability(true)) { return mutex_.try_lock(); }
  void Unlock() HKD_ANNOTATE(release_capability()) { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

class HKD_ANNOTATE(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) HKD_ANNOTATE(acquire_capability(mutex)) : mutex_(mutex) { mutex_.Lock(); }
  ~MutexLock() HKD_ANNOTATE(release_capability()) { mutex_.Unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

}  // namespace Quorvex::PC::Common
