// Contract: I/O completion ports as queues of posted packets.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/completion_port.h"
#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/sync.h"
#include "platform/threads.h"

namespace {

HANDLE NewPort() {
  return CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 0);
}

LPOVERLAPPED Pointer(ULONG_PTR value) {
  return reinterpret_cast<LPOVERLAPPED>(value);
}

struct Packet {
  DWORD bytes;
  ULONG_PTR key;
  ULONG_PTR overlapped;
  bool operator==(const Packet&) const = default;
};

TEST(CompletionPort, PacketsArriveInOrderAsTheyStand) {
  const std::vector<Packet> packets{{0, 1, 0}, {5, 3, 1}, {0xFFFFFFFF, ~ULONG_PTR{0}, 7}, {0, 0, 0}, {0, 1, 0}};
  const HANDLE port = NewPort();
  for (const auto& p : packets) ASSERT_TRUE(PostQueuedCompletionStatus(port, p.bytes, p.key, Pointer(p.overlapped)));
  for (const auto& expected : packets) {
    Packet got{9, 9, 9};
    LPOVERLAPPED overlapped = Pointer(9);
    ASSERT_TRUE(GetQueuedCompletionStatus(port, &got.bytes, &got.key, &overlapped, 0));
    got.overlapped = reinterpret_cast<ULONG_PTR>(overlapped);
    EXPECT_EQ(got, expected);
  }
  CloseHandle(port);
}

TEST(CompletionPort, TimeOutFailsWithNoPacket) {
  const HANDLE port = NewPort();
  for (const DWORD milliseconds : {0u, 20u}) {
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    LPOVERLAPPED overlapped = Pointer(9);
    SetLastError(0);
    EXPECT_FALSE(GetQueuedCompletionStatus(port, &bytes, &key, &overlapped, milliseconds));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(overlapped, nullptr);
  }
  CloseHandle(port);
}

TEST(CompletionPort, ClosingItEndsTheWait) {
  const HANDLE port = NewPort();
  BOOL result = TRUE;
  DWORD error = 0;
  LPOVERLAPPED overlapped = Pointer(9);
  std::atomic<bool> begun{false};
  std::thread waiter([&] {
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    begun = true;
    result = GetQueuedCompletionStatus(port, &bytes, &key, &overlapped, 5000);
    error = GetLastError();
  });
  while (!begun) Sleep(1);
  Sleep(500);  // it waits by now
  EXPECT_TRUE(CloseHandle(port));
  waiter.join();
  EXPECT_FALSE(result);
  EXPECT_EQ(error, static_cast<DWORD>(ERROR_ABANDONED_WAIT_0));
  EXPECT_EQ(overlapped, nullptr);
}

TEST(CompletionPort, RefusesWhatIsNoPort) {
  const HANDLE port = NewPort();
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(CreateIoCompletionPort(INVALID_HANDLE_VALUE, port, 0, 0), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  CloseHandle(port);
  for (const HANDLE wrong : {port, event, static_cast<HANDLE>(nullptr)}) {
    SetLastError(0);
    EXPECT_FALSE(PostQueuedCompletionStatus(wrong, 0, 1, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  }
  CloseHandle(event);
}

// The control handler, the device's callback and the worker all post to one port.
TEST(CompletionPort, EachPacketIsTakenOnceAmongManyThreads) {
  constexpr int kThreads = 3;
  constexpr int kEach = 500;
  const HANDLE port = NewPort();
  std::vector<std::atomic<int>> taken(kThreads * kEach);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kEach; ++i) PostQueuedCompletionStatus(port, static_cast<DWORD>(t * kEach + i), 1, nullptr);
    });
    threads.emplace_back([&] {
      DWORD bytes = 0;
      ULONG_PTR key = 0;
      LPOVERLAPPED overlapped = nullptr;
      while (GetQueuedCompletionStatus(port, &bytes, &key, &overlapped, INFINITE) && key == 1) ++taken[bytes];
    });
  }
  for (int t = 0; t < kThreads; ++t) threads[static_cast<size_t>(2 * t)].join();
  for (int t = 0; t < kThreads; ++t) PostQueuedCompletionStatus(port, 0, 2, nullptr);
  for (int t = 0; t < kThreads; ++t) threads[static_cast<size_t>(2 * t + 1)].join();
  for (const auto& count : taken) EXPECT_EQ(count, 1);
  CloseHandle(port);
}

}  // namespace
