// Several processes at one device, some of them killed.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <thread>

#include "machine/device.h"
#include "machine/device_answers.h"
#include "machine/device_waiter.h"
#include "tests/standins/machine_folder.h"

namespace machine {
namespace {

// Runs `body` in a child that ends, or is killed, when this object goes. Children use their own mapping.
class Child {
 public:
  Child(const std::string& runtime, const std::function<void(DeviceMap&)>& body) : process_(fork()) {
    if (process_ != 0) return;
    const auto mapping = DeviceMapping::OpenExisting(runtime, nullptr);
    if (mapping != nullptr) body(mapping->Map());
    _exit(mapping == nullptr ? 1 : 0);
  }
  ~Child() {
    if (process_ > 0) Kill();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  void Kill() {
    kill(process_, SIGKILL);
    Join();
  }

  int Join() {
    int status = -1;
    waitpid(process_, &status, 0);
    process_ = 0;
    return status;
  }

 private:
  pid_t process_;
};

class DeviceProcessTest : public testing::Test {
 protected:
  void SetUp() override {
    device_ = Device::Open(folder_.Runtime(), nullptr);
    ASSERT_NE(device_, nullptr);
  }

  template <typename Condition>
  static bool Eventually(Condition condition) {
    for (int n = 0; n < 500 && !condition(); ++n) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return condition();
  }

  MachineFolder folder_;
  std::unique_ptr<Device> device_;
};

TEST_F(DeviceProcessTest, NoWordIsAnsweredTwiceOrLost) {
  constexpr int kWords = 200;
  for (int n = 0; n < kWords; ++n) ASSERT_TRUE(device_->Button(kOneTouchAnswer));
  const auto take = [](DeviceMap& map) {
    while (AnswerDeviceCall(map, {0x1002, 1, 0, 0}).word != 0) {
    }
  };
  Child first(folder_.Runtime(), take);
  Child second(folder_.Runtime(), take);
  EXPECT_EQ(first.Join(), 0);
  EXPECT_EQ(second.Join(), 0);
  int answered = 0;
  for (const DeviceTrace& call : device_->Trace()) answered += call.record.answer.word != 0 ? 1 : 0;
  EXPECT_EQ(answered, kWords);
  EXPECT_EQ(device_->Counts().callsAnswered, kWords + 2u);
}

TEST_F(DeviceProcessTest, AProcessKilledWhileItHoldsTheLockHoldsUpNobody) {
  Child child(folder_.Runtime(), [](DeviceMap& map) {
    const DeviceLock lock(map);
    map.callsInProgress = 1;
    pause();
  });
  ASSERT_TRUE(Eventually([&] { return device_->Map().callsInProgress == 1; }));
  child.Kill();
  EXPECT_TRUE(device_->Sensor(1));
  EXPECT_EQ(device_->Counts().callsInProgress, 0u);
}

TEST_F(DeviceProcessTest, AKilledWaiterLeavesItsNotificationsToTheNext) {
  Child child(folder_.Runtime(), [](DeviceMap& map) {
    DeviceWaiter waiter(map);
    std::uint32_t status = 0;
    waiter.Wait(&status);
    pause();  // within the callback of the first
  });
  ASSERT_TRUE(Eventually([&] { return device_->Counts().waiters.size() == 1; }));
  device_->Raise(11);
  device_->Raise(12);
  ASSERT_TRUE(Eventually([&] { return device_->Notifications()[0].deliveredAt != 0; }));
  EXPECT_EQ(device_->Counts().notificationsOutstanding, 2u);
  child.Kill();
  EXPECT_TRUE(device_->Counts().waiters.empty());
  EXPECT_EQ(device_->Counts().notificationsOutstanding, 2u);
  {
    DeviceWaiter next(device_->Map());
    ASSERT_TRUE(next.Registered());
    for (const std::uint32_t expected : {11u, 12u}) {
      std::uint32_t status = 0;
      ASSERT_TRUE(next.Wait(&status));
      EXPECT_EQ(status, expected);
    }
    EXPECT_EQ(device_->Counts().notificationsOutstanding, 1u);  // the callback of the last has not returned
  }
  EXPECT_EQ(device_->Counts().notificationsOutstanding, 0u);
}

}  // namespace
}  // namespace machine
