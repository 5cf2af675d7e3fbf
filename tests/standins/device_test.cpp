#include "machine/device.h"

#include <fstream>
#include <functional>

#include "machine/device_answers.h"
#include "tests/standins/machine_folder.h"

namespace machine {
namespace {

class DeviceTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string error;
    device_ = Device::Open(folder_.Runtime(), &error);
    ASSERT_NE(device_, nullptr) << error;
  }

  DeviceAnswer Ask(const DeviceFunction& call) { return AnswerDeviceCall(device_->Map(), call); }

  MachineFolder folder_;
  std::unique_ptr<Device> device_;
};

TEST_F(DeviceTest, ANewDeviceHasEverythingAndNothingPending) {
  const struct {
    DeviceFunction call;
    std::uint32_t word;
  } cases[] = {
      {{0x1000, 0, 0, 0}, 0x7FFFFFFF}, {{0x1002, 0, 0, 0}, 3},          {{0x1006, 0, 0, 0}, 0x81},
      {{0x1009, 0, 0, 0}, 3},          {{0x100F, 0, 0, 0}, 1},          {{0x101C, 0, 0, 0}, 1},
      {{0x101C, 3, 0, 0}, 3},          {{0x1015, 4, 0, 0}, 0x7FFFFFFF}, {{0x1000, 1, 0, 0}, 0},
      {{0x1002, 1, 0, 0}, 0},          {{0x1006, 0x12, 0, 0}, 0},       {{0x1006, 0x22, 1, 0}, 0},
      {{0x1009, 1, 0, 0}, 0},          {{0x100F, 3, 0, 0}, 0},          {{0x1015, 5, 0, 0}, 0},
      {{0x101C, 3, 3, 0}, 0},          {{0x1000, 2, 0, 0}, 0},          {{0x1002, 2, 0, 0}, 0},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(Ask(one.call), (DeviceAnswer{1, one.word})) << std::hex << one.call.function << " " << one.call.arg1;
  }
  for (const DeviceFunction& unknown : {DeviceFunction{0x1001, 0, 0, 0},
                                        {0x1000, 3, 0, 0},
                                        {0x101C, 3, 4, 0},
                                        {0x100F, 1, 31, 0},
                                        {0x1006, 0x22, 0, 0}}) {
    EXPECT_EQ(Ask(unknown).success, 0u) << std::hex << unknown.function;
  }
}

TEST_F(DeviceTest, WhatIsPendingIsAnsweredOnceAndRaisesANotification) {
  const struct {
    std::function<bool()> act;
    DeviceFunction call;
    std::uint32_t word;
  } cases[] = {
      {[&] { return device_->Press(1) && device_->PressMask(0x4); }, {0x1000, 1, 0, 0}, 0x5},
      {[&] { return device_->Press(31); }, {0x1000, 1, 0, 0}, 0x40000000},
      {[&] { return device_->OneTouch(); }, {0x1002, 1, 0, 0}, 0x40000401},
      {[&] { return device_->IrOpe(); }, {0x1002, 1, 0, 0}, 0x40000300},
      {[&] { return device_->Sensor(3); }, {0x1006, 0x12, 0, 0}, 3},
      {[&] { return device_->Ec(5); }, {0x1006, 0x22, 1, 0}, 5},
      {[&] { return device_->Emergency(2); }, {0x1009, 1, 0, 0}, 2},
      {[&] { return device_->PhonePc(0x6); }, {0x100F, 3, 0, 0}, 0x6},
      {[&] { return device_->Function1015(0x9); }, {0x1015, 5, 0, 0}, 0x9},
      {[&] { return device_->Function101C(2, 7); }, {0x101C, 3, 2, 0}, 7},
  };
  for (const auto& one : cases) {
    const std::uint64_t raised = device_->Counts().notificationsRaised;
    EXPECT_TRUE(one.act());
    EXPECT_GT(device_->Counts().notificationsRaised, raised);
    EXPECT_EQ(Ask(one.call), (DeviceAnswer{1, one.word})) << std::hex << one.call.function;
    EXPECT_EQ(Ask(one.call), (DeviceAnswer{1, 0})) << std::hex << one.call.function;
  }
}

TEST_F(DeviceTest, WordsKeepTheirOrderAndLastingOnesStay) {
  for (std::uint32_t word = 1; word <= 3; ++word) EXPECT_TRUE(device_->Sensor(word));
  for (std::uint32_t word = 1; word <= 3; ++word) EXPECT_EQ(Ask({0x1006, 0x12, 0, 0}).word, word);
  EXPECT_TRUE(device_->SetPhonePcAnswer(2, 0x77));
  device_->SetWake(0x10, 0x40000401);
  for (int n = 0; n < 2; ++n) {
    EXPECT_EQ(Ask({0x100F, 1, 2, 0}).word, 0x77u);
    EXPECT_EQ(Ask({0x1000, 2, 0, 0}).word, 0x10u);
    EXPECT_EQ(Ask({0x1002, 2, 0, 0}).word, 0x40000401u);
  }
}

TEST_F(DeviceTest, RefusesWhatIsOutOfRange) {
  EXPECT_FALSE(device_->Press(0));
  EXPECT_FALSE(device_->Press(32));
  EXPECT_FALSE(device_->PressMask(0x80000001));
  EXPECT_FALSE(device_->PressMask(0));
  EXPECT_FALSE(device_->SetPhonePcAnswer(31, 1));
  EXPECT_FALSE(device_->Function101C(0, 1));
  EXPECT_FALSE(device_->Function101C(65, 1));
  EXPECT_FALSE(device_->SetCapability(0x1001, 1));
  EXPECT_EQ(device_->Counts().notificationsRaised, 0u);
  for (std::size_t n = 0; n < kPendingWords; ++n) ASSERT_TRUE(device_->Button(kIrOpeAnswer));
  EXPECT_FALSE(device_->Button(kOneTouchAnswer));
  EXPECT_EQ(device_->Counts().notificationsRaised, kPendingWords);
}

TEST_F(DeviceTest, ScriptsComeBeforeTheDevicesOwnRules) {
  const DeviceFunction call = {0x1000, 1, 0, 0};
  ASSERT_TRUE(device_->Press(1));
  ASSERT_TRUE(device_->Answers(call, {8, 9}));
  ASSERT_TRUE(device_->Script(call, std::vector<DeviceAnswer>{{0, 0x40}}));
  EXPECT_EQ(Ask(call), (DeviceAnswer{1, 8}));
  EXPECT_EQ(Ask({0x1000, 1, 1, 0}), (DeviceAnswer{1, 1}));  // other arguments: the rule, and it clears
  EXPECT_EQ(Ask(call), (DeviceAnswer{1, 9}));
  EXPECT_EQ(Ask(call), (DeviceAnswer{0, 0x40}));
  EXPECT_EQ(Ask(call), (DeviceAnswer{1, 0}));
  ASSERT_TRUE(device_->Script(call, {}, DeviceAnswer{1, 0x80000001}));
  for (int n = 0; n < 3; ++n) EXPECT_EQ(Ask(call).word, 0x80000001u);
  device_->ClearScript(call);
  EXPECT_EQ(Ask(call).word, 0u);
}

TEST_F(DeviceTest, AScriptThatDoesNotFitChangesNothing) {
  const DeviceFunction call = {0x1234, 0, 0, 0};
  ASSERT_TRUE(device_->Script(call, std::vector<DeviceAnswer>(kScriptDepth - 1, {1, 1})));
  EXPECT_FALSE(device_->Script(call, std::vector<DeviceAnswer>(2, {1, 2})));
  for (std::size_t n = 0; n < kScriptDepth - 1; ++n) ASSERT_EQ(Ask(call).word, 1u);
  EXPECT_EQ(Ask(call).success, 0u);
  for (std::uint32_t n = 1; n < kScripts; ++n) ASSERT_TRUE(device_->Answers({0x2000, n, 0, 0}, {n}));
  EXPECT_FALSE(device_->Answers({0x3000, 0, 0, 0}, {1}));
}

TEST_F(DeviceTest, TheTraceKeepsTheLastCallsInOrder) {
  constexpr std::uint32_t kCalls = kTracedCalls + 10;
  ASSERT_TRUE(device_->Answers({0x1002, 1, 0, 0}, {0x40000401}));
  Ask({0x1002, 1, 0, 0});
  const std::vector<DeviceTrace> first = device_->Trace();
  ASSERT_EQ(first.size(), 1u);
  EXPECT_EQ(first[0].record.call, (DeviceFunction{0x1002, 1, 0, 0}));
  EXPECT_EQ(first[0].record.answer, (DeviceAnswer{1, 0x40000401}));
  EXPECT_EQ(first[0].record.process, getpid());
  for (std::uint32_t n = 1; n < kCalls; ++n) Ask({0x1000, n, 0, 0});
  const std::vector<DeviceTrace> all = device_->Trace();
  ASSERT_EQ(all.size(), kTracedCalls);
  for (std::size_t n = 0; n < all.size(); ++n) ASSERT_EQ(all[n].record.call.arg1, n + 10);
  EXPECT_EQ(device_->Trace(kCalls - 2).size(), 2u);
  EXPECT_EQ(device_->Counts().callsAnswered, kCalls);
  EXPECT_EQ(device_->Counts().lastCallAt, all.back().record.at);
}

TEST_F(DeviceTest, AnotherOpenSeesTheSameDevice) {
  ASSERT_TRUE(device_->Sensor(1));
  const std::unique_ptr<Device> other = Device::Open(folder_.Runtime(), nullptr);
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(AnswerDeviceCall(other->Map(), {0x1006, 0x12, 0, 0}).word, 1u);
  EXPECT_EQ(device_->Counts().callsAnswered, 1u);
}

TEST(DeviceFile, OneThatIsNotADeviceIsRefusedAndKept) {
  const MachineFolder folder;
  const std::string path = folder.Runtime() + "/device.map";
  std::string error;
  EXPECT_EQ(DeviceMapping::OpenExisting(folder.Runtime(), &error), nullptr);
  EXPECT_FALSE(std::filesystem::exists(path));
  std::ofstream(path) << "something else";
  EXPECT_EQ(Device::Open(folder.Runtime(), &error), nullptr);
  EXPECT_NE(error.find("not a device of this version"), std::string::npos) << error;
  EXPECT_EQ(std::filesystem::file_size(path), 14u);
  std::ofstream(path) << "another version's";
  std::filesystem::resize_file(path, sizeof(DeviceMap));
  EXPECT_EQ(Device::Open(folder.Runtime(), &error), nullptr);
  EXPECT_EQ(Device::Open(folder.Runtime() + "/missing", &error), nullptr);
}

}  // namespace
}  // namespace machine
