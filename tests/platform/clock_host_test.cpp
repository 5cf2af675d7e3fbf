// The clock that tests move: who sleeps or waits for a time goes by it.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "platform/completion_port.h"
#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/host/base/clock.h"
#include "platform/sync.h"
#include "platform/threads.h"

namespace {

using namespace std::chrono_literals;

void WaitUntilOneSleeps() {
  while (host::SleepingThreads() != 1) std::this_thread::sleep_for(1ms);
}

TEST(Clock, ASleepingThreadGoesOnWhenTheClockHasMovedAndNoSooner) {
  host::FreezeClock();
  std::atomic<bool> awake{false};
  std::thread sleeper([&] {
    Sleep(3'600'000);
    awake = true;
  });
  WaitUntilOneSleeps();
  host::MoveClock(3'599'999ms);
  std::this_thread::sleep_for(20ms);
  EXPECT_FALSE(awake);
  host::MoveClock(1ms);
  sleeper.join();
  EXPECT_EQ(host::SleepingThreads(), 0u);
  const auto stood = host::MonotonicNow();
  host::ThawClock();
  EXPECT_LT(host::MonotonicNow() - stood, 10s) << "it runs on from where it stood";
  Sleep(5);
  EXPECT_GE(host::MonotonicNow() - stood, 5ms);
}

TEST(Clock, EveryTimeOutGoesByIt) {
  constexpr DWORD kHour = 3'600'000;
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE port = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1);
  const std::function<DWORD()> waits[] = {
      [&] { return WaitForSingleObject(event, kHour); },
      [&] {
        DWORD bytes = 0;
        ULONG_PTR key = 0;
        LPOVERLAPPED overlapped = nullptr;
        return GetQueuedCompletionStatus(port, &bytes, &key, &overlapped, kHour) ? 0 : GetLastError();
      },
      [] {
        std::uint32_t value = 0;
        std::uint32_t same = 0;
        return WaitOnAddress(&value, &same, sizeof(value), kHour) ? 0 : GetLastError();
      }};
  const DWORD expected[] = {WAIT_TIMEOUT, WAIT_TIMEOUT, ERROR_TIMEOUT};
  host::FreezeClock();
  for (int index = 0; index < 3; ++index) {
    std::atomic<bool> over{false};
    std::thread waiter([&] {
      EXPECT_EQ(waits[index](), expected[index]) << index;
      over = true;
    });
    while (!over) {
      std::this_thread::sleep_for(1ms);
      host::MoveClock(1h);
    }
    waiter.join();
  }
  host::ThawClock();
  CloseHandle(port);
  CloseHandle(event);
}

}  // namespace
