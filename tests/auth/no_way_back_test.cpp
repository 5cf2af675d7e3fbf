// What happens when there is no memory for the way back from a client's identity.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <new>

#include "common/access_token.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/thread_token.h"
#include "tests/auth/requests.h"

using namespace request_test;
using Quorvex::PC::Common::CAccessToken;

namespace {

// The next allocation that may answer null does, once.
thread_local bool g_failNextAllocation = false;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (std::exchange(g_failNextAllocation, false)) return nullptr;
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace {

class NoWayBack : public Requests {
 protected:
  // OpenRPCClientToken without memory for the way back, on a thread that serves a call.
  void OpenWithoutMemory(CAccessToken& client) {
    g_failNextAllocation = true;
    EXPECT_TRUE(client.OpenRPCClientToken());
    EXPECT_FALSE(g_failNextAllocation) << "no allocation failed: nothing was tested";
  }
};

TEST_F(NoWayBack, EndsTheImpersonationAtOnce) {
  InServerCall(Bob(), [this] {
    CAccessToken client;
    OpenWithoutMemory(client);
    EXPECT_EQ(host::ThreadToken(), nullptr);
    EXPECT_NE(client.Get(), nullptr) << "the token has been opened all the same";
    EXPECT_TRUE(client.Revert());
  });
}

TEST_F(NoWayBack, EndsTheProcessWhenThatFailsToo) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(InServerCall(Bob(),
                           [this] {
                             host::FailCall("RpcRevertToSelfEx", 1, 1726);
                             CAccessToken client;
                             OpenWithoutMemory(client);
                             _exit(42);
                           }),
              testing::ExitedWithCode(0), "");
}

}  // namespace
