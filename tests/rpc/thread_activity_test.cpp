// What is told of a thread: whether it has something to do, and its processor time.
#include "platform/host/rpc/thread_activity.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "tests/rpc/server_fixture.h"

using namespace std::chrono_literals;

namespace {

TEST(ThreadActivityTest, TellsAThreadThatRunsFromOneThatWaits) {
  using host::rpc::ThreadActivity;
  std::promise<ThreadActivity> running;
  std::promise<ThreadActivity> waiting;
  std::promise<void> mayEnd;
  auto end = mayEnd.get_future();
  std::atomic<bool> run{true};
  std::thread runner([&] {
    running.set_value({});
    while (run) continue;
  });
  std::thread waiter([&] {
    waiting.set_value({});
    end.wait();
  });
  auto ofRunner = running.get_future().get();
  auto ofWaiter = waiting.get_future().get();
  EXPECT_TRUE(ofRunner.Runnable());
  ofRunner.StartCount();
  EXPECT_TRUE(Eventually([&] { return ofRunner.ProcessorTime() > 5ms; }));  // adds up
  EXPECT_TRUE(Eventually([&] { return !ofWaiter.Runnable(); }));
  ofWaiter.StartCount();
  EXPECT_EQ(ofWaiter.ProcessorTime(), 0ns);
  run = false;
  mayEnd.set_value();
  runner.join();
  waiter.join();
  EXPECT_FALSE(ofRunner.Runnable());
}

}  // namespace
