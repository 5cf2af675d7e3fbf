// Contract: waiting until the value at an address changes.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "platform/errors.h"
#include "platform/sync.h"
#include "platform/threads.h"

namespace {

// A difference in the highest byte of each size is seen, none behind it.
TEST(AddressWait, ComparesAsManyBytesAsAsked) {
  for (const SIZE_T size : {1, 2, 4, 8}) {
    SCOPED_TRACE(size);
    alignas(8) std::uint8_t value[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    alignas(8) std::uint8_t same[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    same[size] = 0xFF;
    EXPECT_FALSE(WaitOnAddress(value, same, size, 1));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_TIMEOUT));
    same[size - 1] = 0xFF;
    EXPECT_TRUE(WaitOnAddress(value, same, size, INFINITE));
  }
}

TEST(AddressWait, OtherSizesAreRefused) {
  alignas(16) std::uint8_t value[16] = {};
  for (const SIZE_T size : {0, 3, 5, 16}) {
    SetLastError(0);
    EXPECT_FALSE(WaitOnAddress(value, value, size, 1000)) << size;
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER)) << size;
  }
}

TEST(AddressWait, TheTimeOutIsWaitedFor) {
  std::uint32_t value = 1;
  std::uint32_t same = 1;
  const auto begin = std::chrono::steady_clock::now();
  while (WaitOnAddress(&value, &same, sizeof(value), 60)) {
  }
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_TIMEOUT));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
}

// Waits as the caller of the contract has to: looks again after every return.
void WaitWhile(std::atomic<std::uint32_t>& word, std::uint32_t value) {
  while (word == value) WaitOnAddress(&word, &value, sizeof(value), INFINITE);
}

TEST(AddressWait, OneWakeReachesEveryWaiter) {
  std::atomic<std::uint32_t> word{1};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i) waiters.emplace_back([&] { WaitWhile(word, 1); });
  Sleep(20);
  word = 0;
  WakeByAddressAll(&word);
  for (std::thread& waiter : waiters) waiter.join();
}

// Two threads hand each other the turn: a wake that is lost between the look and the sleep stops them for good.
TEST(AddressWait, NoWakeIsLost) {
  constexpr int kRounds = 5000;
  std::atomic<std::uint32_t> turn{0};
  const auto play = [&](std::uint32_t mine) {
    for (int round = 0; round < kRounds; ++round) {
      WaitWhile(turn, 1 - mine);
      turn = 1 - mine;
      WakeByAddressAll(&turn);
    }
  };
  std::thread other([&] { play(1); });
  play(0);
  other.join();
  EXPECT_EQ(turn, 0u);
}

}  // namespace
