// Contract: events, threads and the process thread pool.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/sync.h"
#include "platform/thread_pool.h"
#include "platform/threads.h"

namespace {

constexpr DWORD kLong = 10'000;  // milliseconds; never reached when all is well

HANDLE NewEvent(bool manual, bool signalled) {
  return CreateEventW(nullptr, manual, signalled, nullptr);
}

TEST(Event, StateAndResetKindDecideWhatTwoTestsFind) {
  struct {
    bool manual, signalled;
    DWORD first, second;
  } constexpr kCases[] = {{true, false, WAIT_TIMEOUT, WAIT_TIMEOUT},
                          {true, true, WAIT_OBJECT_0, WAIT_OBJECT_0},
                          {false, false, WAIT_TIMEOUT, WAIT_TIMEOUT},
                          {false, true, WAIT_OBJECT_0, WAIT_TIMEOUT}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::Message() << "manual " << c.manual << ", signalled " << c.signalled);
    const HANDLE created = NewEvent(c.manual, c.signalled);
    const HANDLE set = NewEvent(c.manual, false);
    if (c.signalled) {
      EXPECT_TRUE(SetEvent(set));
      EXPECT_TRUE(SetEvent(set));  // a second set changes nothing
    }
    for (const HANDLE event : {created, set}) {
      EXPECT_EQ(WaitForSingleObject(event, 0), c.first);
      EXPECT_EQ(WaitForSingleObject(event, 0), c.second);
      EXPECT_TRUE(ResetEvent(event));
      EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
      EXPECT_TRUE(CloseHandle(event));
    }
  }
}

TEST(Event, TimeOutIsWaitedFor) {
  const HANDLE event = NewEvent(true, false);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(WaitForSingleObject(event, 60), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
  CloseHandle(event);
}

// Waiters that have begun to wait are released: all by a manual-reset event, one for each set by an automatic one.
TEST(Event, SetReleasesWaiters) {
  constexpr int kWaiters = 4;
  for (const bool manual : {true, false}) {
    const HANDLE event = NewEvent(manual, false);
    std::atomic<int> released{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < kWaiters; ++i) {
      waiters.emplace_back([&] { released += WaitForSingleObject(event, INFINITE) == WAIT_OBJECT_0; });
    }
    SetEvent(event);
    for (int expected = 1; !manual && expected < kWaiters; ++expected) {
      while (released < expected) Sleep(1);
      Sleep(20);
      EXPECT_EQ(released, expected);
      SetEvent(event);
    }
    for (auto& waiter : waiters) waiter.join();
    EXPECT_EQ(released, kWaiters);
    EXPECT_EQ(WaitForSingleObject(event, 0), manual ? WAIT_OBJECT_0 : static_cast<DWORD>(WAIT_TIMEOUT));
    CloseHandle(event);
  }
}

TEST(Event, ClosedHandleIsRefusedEverywhere) {
  const HANDLE event = NewEvent(true, true);
  ASSERT_TRUE(CloseHandle(event));
  const auto expectInvalid = [](const char* call, bool failed) {
    EXPECT_TRUE(failed) << call;
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE)) << call;
    SetLastError(0);
  };
  expectInvalid("CloseHandle", !CloseHandle(event));
  expectInvalid("SetEvent", !SetEvent(event));
  expectInvalid("ResetEvent", !ResetEvent(event));
  expectInvalid("WaitForSingleObject", WaitForSingleObject(event, 0) == WAIT_FAILED);
  expectInvalid("null", !CloseHandle(nullptr));
}

TEST(Event, CreationTellsThatTheNameWasFree) {
  SetLastError(99);
  const HANDLE event = NewEvent(true, false);
  EXPECT_EQ(GetLastError(), 0u);
  CloseHandle(event);
}

unsigned __stdcall StoreThreadId(void* context) {
  *static_cast<DWORD*>(context) = GetCurrentThreadId();
  return 0;
}

TEST(Thread, HandleIsSignalledWhenTheRoutineHasEnded) {
  DWORD seen = 0;
  unsigned id = 0;
  const auto handle = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, StoreThreadId, &seen, 0, &id));
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(WaitForSingleObject(handle, kLong), WAIT_OBJECT_0);
  EXPECT_EQ(seen, id);
  EXPECT_NE(seen, GetCurrentThreadId());
  EXPECT_TRUE(CloseHandle(handle));
}

// The service starts its listening thread and closes the handle at once.
TEST(Thread, RunsOnWithItsHandleClosed) {
  const HANDLE ran = NewEvent(true, false);
  const auto routine = [](void* event) -> unsigned {
    Sleep(10);
    SetEvent(event);
    return 0;
  };
  CloseHandle(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, routine, ran, 0, nullptr)));
  EXPECT_EQ(WaitForSingleObject(ran, kLong), WAIT_OBJECT_0);
  CloseHandle(ran);
}

struct Batch {
  std::array<std::atomic<int>, 200> runs{};
  std::atomic<size_t> done{0};
  HANDLE allDone = NewEvent(true, false);
};
struct BatchItem {
  Batch* batch;
  size_t index;
};

void CALLBACK RunItem(PTP_CALLBACK_INSTANCE, PVOID context) {
  const auto* item = static_cast<BatchItem*>(context);
  ++item->batch->runs[item->index];
  if (++item->batch->done == item->batch->runs.size()) SetEvent(item->batch->allDone);
}

TEST(ThreadPool, RunsEachCallbackOnce) {
  Batch batch;
  std::vector<BatchItem> items;
  for (size_t i = 0; i < batch.runs.size(); ++i) items.push_back({&batch, i});
  for (auto& item : items) ASSERT_TRUE(TrySubmitThreadpoolCallback(RunItem, &item, nullptr));
  EXPECT_EQ(WaitForSingleObject(batch.allDone, kLong), WAIT_OBJECT_0);
  for (const auto& runs : batch.runs) EXPECT_EQ(runs, 1);
  Sleep(10);  // the last callback still leaves SetEvent
  CloseHandle(batch.allDone);
}

// Callbacks that block do not keep later ones from running.
TEST(ThreadPool, GrowsPastBlockedCallbacks) {
  constexpr int kBlocked = 8;
  struct Gate {
    HANDLE open = NewEvent(true, false);
    std::atomic<int> passed{0};
  } gate;
  const auto wait = [](PTP_CALLBACK_INSTANCE, PVOID context) {
    auto* g = static_cast<Gate*>(context);
    if (WaitForSingleObject(g->open, kLong) == WAIT_OBJECT_0) ++g->passed;
  };
  for (int i = 0; i < kBlocked; ++i) ASSERT_TRUE(TrySubmitThreadpoolCallback(wait, &gate, nullptr));
  const auto openGate = [](PTP_CALLBACK_INSTANCE, PVOID context) { SetEvent(static_cast<Gate*>(context)->open); };
  ASSERT_TRUE(TrySubmitThreadpoolCallback(openGate, &gate, nullptr));
  while (gate.passed < kBlocked && WaitForSingleObject(gate.open, kLong) == WAIT_OBJECT_0) Sleep(1);
  EXPECT_EQ(gate.passed, kBlocked);
  CloseHandle(gate.open);
}

}  // namespace
