#include "platform/host/kernel/threads.h"

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <thread>

#include "platform/host/base/access_rights.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/kernel/event_object.h"

namespace {

constexpr DWORD kThreadAllAccess = STANDARD_RIGHTS_ALL | 0xFFFF;

// Signalled once the thread has ended.
class ThreadObject : public host::KernelObject {
 public:
  const char* Kind() const override { return "thread"; }
  DWORD Wait(const host::Deadline& deadline) override { return ended_.Wait(deadline); }
  void SetEnded() { ended_.Set(); }

  // The new thread's identifier, handed over by the thread itself.
  void SetId(DWORD id) {
    id_ = id;
    started_.Set();
  }
  DWORD WaitForId() {
    started_.Wait(std::nullopt);
    return id_;
  }

 private:
  host::EventObject started_{host::EventReset::Manual, false};
  host::EventObject ended_{host::EventReset::Manual, false};
  DWORD id_ = 0;  // written before started_ is set, read after
};

struct Start {
  unsigned(__stdcall* routine)(void*);
  void* argument;
  std::shared_ptr<ThreadObject> thread;
};

void* RunThread(void* context) {
  const std::unique_ptr<Start> start(static_cast<Start*>(context));
  start->thread->SetId(GetCurrentThreadId());
  start->routine(start->argument);
  start->thread->SetEnded();
  return nullptr;
}

// 0, or an errno value. On success the new thread owns `start`.
int StartDetached(Start* start, unsigned stackSize) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  if (stackSize > 0) pthread_attr_setstacksize(&attributes, std::max<size_t>(stackSize, PTHREAD_STACK_MIN));
  pthread_t thread;
  const int error = pthread_create(&thread, &attributes, RunThread, start);
  pthread_attr_destroy(&attributes);
  return error;
}

}  // namespace

uintptr_t _beginthreadex(void* security, unsigned stackSize, unsigned(__stdcall* start)(void*), void* argument,
                         unsigned flags, unsigned* threadId) {
  if (security) host::Unsupported("_beginthreadex", "security not null");
  if (flags) host::Unsupported("_beginthreadex", "flags other than 0");
  auto thread = std::make_shared<ThreadObject>();
  auto context = std::make_unique<Start>(Start{start, argument, thread});
  const int error = host::InjectedFailure("_beginthreadex") ? EAGAIN : StartDetached(context.get(), stackSize);
  if (error != 0) {
    errno = error;
    return 0;
  }
  static_cast<void>(context.release());
  if (threadId) *threadId = thread->WaitForId();
  return reinterpret_cast<uintptr_t>(host::OpenHandle(std::move(thread), kThreadAllAccess));
}

HANDLE GetCurrentThread() {
  return reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-2));
}

DWORD GetCurrentThreadId() {
  thread_local const DWORD id = static_cast<DWORD>(gettid());
  return id;
}

void Sleep(DWORD milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  while (milliseconds == INFINITE) pause();
  const host::MonotonicTime deadline = host::MonotonicNow() + std::chrono::milliseconds(milliseconds);
  const host::SleepingScope sleeping;
  while (host::MonotonicNow() < deadline) std::this_thread::sleep_until(host::BlockUntil(deadline));
}
