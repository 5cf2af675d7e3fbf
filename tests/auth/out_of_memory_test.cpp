// Requests without enough memory, on the thread that serves them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <utility>

#include "common/access_token.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/thread_token.h"
#include "platform/rpc_client.h"
#include "tests/auth/requests.h"

using namespace request_test;
using Quorvex::PC::Common::CAccessToken;

namespace {

// The next allocation of this thread fails, once: one that throws, or one that answers null.
thread_local bool g_failNextThrowing = false;
thread_local bool g_failNextNothrow = false;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
  void* block = std::exchange(g_failNextThrowing, false) ? nullptr : std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::exchange(g_failNextNothrow, false) ? nullptr : std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace {

class OutOfMemory : public Requests {
 protected:
  // Opens the client's token without memory for the way back from its identity.
  static void OpenWithoutWayBack(CAccessToken& client) {
    g_failNextNothrow = true;
    EXPECT_TRUE(client.OpenRPCClientToken());
    EXPECT_FALSE(g_failNextNothrow) << "no allocation failed: nothing was tested";
  }
  HRESULT Register() {
    const support::RpcClient client(Bob());
    HRESULT result = E_UNEXPECTED;
    EXPECT_EQ(CatchRpcException([&] {
                result = Client_Hkd04a7Rpc_RegisterAppServiceForNotification(client.Binding(), W("Package"),
                                                                             W("Service"), 0, 1, 0);
              }),
              RPC_S_OK);
    return result;
  }
};

TEST_F(OutOfMemory, WithoutAWayBackTheImpersonationEndsAtOnce) {
  InServerCall(Bob(), [] {
    CAccessToken client;
    OpenWithoutWayBack(client);
    EXPECT_EQ(host::ThreadToken(), nullptr);
    EXPECT_NE(client.Get(), nullptr) << "the token has been opened all the same";
    EXPECT_TRUE(client.Revert());
  });
}

TEST_F(OutOfMemory, TheProcessEndsWhenThatFailsToo) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(InServerCall(Bob(),
                           [] {
                             host::FailCall("RpcRevertToSelfEx", 1, 1726);
                             CAccessToken client;
                             OpenWithoutWayBack(client);
                             _exit(42);
                           }),
              testing::ExitedWithCode(0), "");
}

TEST_F(OutOfMemory, ARequestIsAnsweredSo) {
  const auto failNext = [] { g_failNextThrowing = true; };
  host::AtCall("RpcRevertToSelfEx", failNext);
  EXPECT_EQ(Register(), E_OUTOFMEMORY) << "the path of the key";
  host::ClearFaults();
  Grant(kPackage, 1);
  host::AtCall("CM_Get_Device_ID_List_SizeW", failNext);
  EXPECT_EQ(Run(0, W("tool")).result, static_cast<DWORD>(E_OUTOFMEMORY));
  host::ClearFaults();
  EXPECT_EQ(Register(), S_OK);
  EXPECT_EQ(Run(0, W("tool")).result, static_cast<DWORD>(E_NOTIMPL));
}

}  // namespace
