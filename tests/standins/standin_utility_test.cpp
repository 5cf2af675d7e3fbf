// The device utility stand-in's calls, as a program makes them after loading the library.
#include <thread>
#include <vector>

#include "machine/device.h"
#include "platform/host/base/last_error.h"
#include "tests/standins/loaded_library.h"
#include "tests/standins/machine_folder.h"

namespace {

using CallFuncMethod = std::int32_t(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t*);

class UtilityTest : public testing::Test {
 protected:
  void SetUp() override {
    device_ = machine::Device::Open(folder_.Runtime(), nullptr);
    ASSERT_NE(device_, nullptr);
    call_ = library_.Find<CallFuncMethod>("InternalCallFuncMethod");
    ASSERT_NE(call_, nullptr);
  }

  MachineFolder folder_;
  std::unique_ptr<machine::Device> device_;
  LoadedLibrary library_{"hkd04a7-utility.dll"};
  CallFuncMethod* call_ = nullptr;
};

TEST_F(UtilityTest, CallsReachTheDeviceAndFailuresLeaveTheirCode) {
  ASSERT_TRUE(device_->Press(3));
  std::uint32_t word = 99;
  EXPECT_NE(call_(0x1000, 1, 0, 0, &word), 0);
  EXPECT_EQ(word, 4u);

  ASSERT_TRUE(device_->Script({0x1000, 1, 0, 0}, std::vector<machine::DeviceAnswer>{{0, 0x55}}));
  EXPECT_EQ(call_(0x1000, 1, 0, 0, &word), 0);
  EXPECT_EQ(GetLastError(), 31u);
  EXPECT_EQ(word, 0x55u);

  EXPECT_EQ(call_(0x1000, 1, 0, 0, nullptr), 0);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(device_->Counts().callsAnswered, 2u);
}

TEST_F(UtilityTest, ManyThreadsTakeEachWordOnce) {
  constexpr int kThreads = 4;
  constexpr int kWords = 200;
  for (int n = 0; n < kWords; ++n) ASSERT_TRUE(device_->Button(machine::kIrOpeAnswer));
  std::vector<int> taken(kThreads);
  {
    std::vector<std::jthread> threads;
    for (int n = 0; n < kThreads; ++n) {
      threads.emplace_back([this, &count = taken[static_cast<std::size_t>(n)]] {
        for (std::uint32_t word = 1; word != 0;) {
          if (call_(0x1002, 1, 0, 0, &word) != 0 && word != 0) ++count;
        }
      });
    }
  }
  int total = 0;
  for (const int count : taken) total += count;
  EXPECT_EQ(total, kWords);
}

TEST_F(UtilityTest, WhatNobodyCallsRefuses) {
  for (const char* name : {"InternalRegisterCallbackForNotification", "InternalUnregisterCallbackForNotification"}) {
    SetLastError(0);
    EXPECT_EQ(library_.Find<std::int32_t()>(name)(), 0) << name;
    EXPECT_EQ(GetLastError(), 120u) << name;
  }
  SetLastError(0);
  EXPECT_EQ(library_.Find<void*()>("InternalGetCallbackForNotificationWorker")(), nullptr);
  EXPECT_EQ(GetLastError(), 120u);
}

TEST(Utility, IsReleasedWholeAndFindsADeviceThatComesLater) {
  const MachineFolder folder;
  LoadedLibrary library("hkd04a7-utility.dll");
  auto* call = library.Find<CallFuncMethod>("InternalCallFuncMethod");
  ASSERT_NE(call, nullptr);
  std::uint32_t word = 99;
  EXPECT_EQ(call(0x1002, 0, 0, 0, &word), 0);
  EXPECT_EQ(GetLastError(), 2u);
  EXPECT_EQ(word, 99u);
  const auto device = machine::Device::Open(folder.Runtime(), nullptr);
  EXPECT_NE(call(0x1002, 0, 0, 0, &word), 0);
  EXPECT_EQ(word, 3u);
  EXPECT_TRUE(library.IsInProcess());
  library.Unload();
  EXPECT_FALSE(library.IsInProcess());
}

TEST(UtilityVariant, LacksTheOneExport) {
  const LoadedLibrary variant("variants/utility-lacks-export/hkd04a7-utility.dll");
  EXPECT_EQ(variant.Find<void>("InternalGetCallbackForNotificationWorker"), nullptr);
  EXPECT_NE(variant.Find<void>("InternalUnregisterCallbackForNotification"), nullptr);
}

}  // namespace
