// The device utility stand-in's notifications: the callback thread, its beginning and its end.
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include "machine/device.h"
#include "platform/host/base/last_error.h"
#include "tests/standins/loaded_library.h"
#include "tests/standins/machine_folder.h"

namespace {

using Callback = void(std::uint32_t, void*);
using Begin = std::int32_t(Callback*, void*);
using Cancel = std::int32_t();

// What a callback was called with.
class Received {
 public:
  static void Add(std::uint32_t status, void* context) {
    auto* self = static_cast<Received*>(context);
    const std::lock_guard guard(self->lock_);
    self->statuses_.push_back(status);
    self->changed_.notify_all();
  }

  bool WaitFor(std::size_t count) {
    std::unique_lock guard(lock_);
    return changed_.wait_for(guard, std::chrono::seconds(10), [&] { return statuses_.size() >= count; });
  }

  std::vector<std::uint32_t> Statuses() {
    const std::lock_guard guard(lock_);
    return statuses_;
  }

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  std::vector<std::uint32_t> statuses_;
};

class NotificationTest : public testing::Test {
 protected:
  void SetUp() override {
    device_ = machine::Device::Open(folder_.Runtime(), nullptr);
    ASSERT_NE(device_, nullptr);
    begin_ = library_.Find<Begin>("InternalBeginWaitNotification");
    cancel_ = library_.Find<Cancel>("InternalCancelWaitNotification");
    ASSERT_NE(begin_, nullptr);
    ASSERT_NE(cancel_, nullptr);
  }

  MachineFolder folder_;
  std::unique_ptr<machine::Device> device_;
  LoadedLibrary library_{"hkd04a7-utility.dll"};
  Begin* begin_ = nullptr;
  Cancel* cancel_ = nullptr;
};

TEST_F(NotificationTest, EachOneIsHandedOverInOrderThoseBeforeTheWaitIncluded) {
  std::vector<std::uint32_t> expected;
  for (std::uint32_t n = 0; n < 3; ++n) expected.push_back(n);
  for (const std::uint32_t status : expected) device_->Raise(status);
  Received received;
  ASSERT_NE(begin_(&Received::Add, &received), 0);
  for (std::uint32_t n = 3; n < 300; ++n) {
    expected.push_back(n);
    device_->Raise(n);
  }
  EXPECT_TRUE(received.WaitFor(expected.size()));
  EXPECT_NE(cancel_(), 0);
  EXPECT_EQ(received.Statuses(), expected);
  EXPECT_EQ(device_->Counts().notificationsOutstanding, 0u);
  for (const machine::NotificationTimes& one : device_->Notifications()) EXPECT_GE(one.deliveredAt, one.raisedAt);
}

TEST_F(NotificationTest, OneWaitAtATimeForAllLoadsOfTheLibrary) {
  const LoadedLibrary again("hkd04a7-utility.dll");
  Received received;
  EXPECT_EQ(cancel_(), 0);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(begin_(nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), 87u);
  ASSERT_NE(begin_(&Received::Add, &received), 0);
  EXPECT_EQ(again.Find<Begin>("InternalBeginWaitNotification")(&Received::Add, &received), 0);
  EXPECT_EQ(GetLastError(), 1247u);
  EXPECT_EQ(device_->Counts().waiters, std::vector<std::int32_t>{getpid()});
  EXPECT_NE(again.Find<Cancel>("InternalCancelWaitNotification")(), 0);
  EXPECT_EQ(cancel_(), 0);
  EXPECT_TRUE(device_->Counts().waiters.empty());
}

TEST_F(NotificationTest, CancelReturnsOnlyWhenNoCallbackIsRunning) {
  struct Shared {
    std::atomic<bool> entered = false;
    std::atomic<bool> left = false;
  } shared;
  const auto callback = [](std::uint32_t, void* context) {
    auto* state = static_cast<Shared*>(context);
    state->entered = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    state->left = true;
  };
  ASSERT_NE(begin_(callback, &shared), 0);
  device_->Raise();
  while (!shared.entered) std::this_thread::yield();
  EXPECT_NE(cancel_(), 0);
  EXPECT_TRUE(shared.left);
}

TEST_F(NotificationTest, ACallbackMayEndItsOwnWaitAndAnotherBegins) {
  struct Shared {
    Cancel* cancel;
    std::atomic<int> calls = 0;
    std::atomic<std::int32_t> result = -1;
  } shared{cancel_};
  const auto callback = [](std::uint32_t, void* context) {
    auto* state = static_cast<Shared*>(context);
    ++state->calls;
    state->result = state->cancel();
  };
  ASSERT_NE(begin_(callback, &shared), 0);
  device_->Raise();
  device_->Raise();
  while (shared.result == -1) std::this_thread::yield();
  EXPECT_EQ(shared.result, 1);
  EXPECT_EQ(cancel_(), 0);
  Received received;
  ASSERT_NE(begin_(&Received::Add, &received), 0);
  EXPECT_TRUE(received.WaitFor(1));
  EXPECT_EQ(shared.calls, 1);
  EXPECT_NE(cancel_(), 0);
}

TEST_F(NotificationTest, BeginsAndEndsWhileNotificationsComeLoseNone) {
  constexpr std::uint32_t kNotifications = 500;
  Received received;
  {
    const std::jthread raising([this] {
      for (std::uint32_t n = 0; n < kNotifications; ++n) device_->Raise(n);
    });
    for (int n = 0; n < 50; ++n) {
      ASSERT_NE(begin_(&Received::Add, &received), 0);
      ASSERT_NE(cancel_(), 0);
    }
  }
  ASSERT_NE(begin_(&Received::Add, &received), 0);
  EXPECT_TRUE(received.WaitFor(kNotifications));
  EXPECT_NE(cancel_(), 0);
  const std::vector<std::uint32_t> statuses = received.Statuses();
  ASSERT_EQ(statuses.size(), kNotifications);
  for (std::uint32_t n = 0; n < kNotifications; ++n) ASSERT_EQ(statuses[n], n);
}

// As a service does whose machine went away: it leaves main while the library's thread still waits.
TEST_F(NotificationTest, AProcessThatEndsInTheMiddleOfAWaitLeavesNoWaiter) {
  const auto endWithinWait = [this] {
    Received received;
    if (begin_(&Received::Add, &received) == 0) std::_Exit(2);
    std::exit(0);
  };
  EXPECT_EXIT(endWithinWait(), testing::ExitedWithCode(0), "");
  EXPECT_TRUE(device_->Counts().waiters.empty());
}

TEST(Notification, AMachineWithoutADeviceHasNone) {
  const MachineFolder folder;
  const LoadedLibrary library("hkd04a7-utility.dll");
  Received received;
  EXPECT_EQ(library.Find<Begin>("InternalBeginWaitNotification")(&Received::Add, &received), 0);
  EXPECT_EQ(GetLastError(), 2u);
}

}  // namespace
