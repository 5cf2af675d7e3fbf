// The client's token and the way back from its identity, on a thread that serves a call.
#include <gtest/gtest.h>

#include "common/access_token.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/thread_token.h"
#include "platform/host/kernel/handle_table.h"
#include "platform/processes.h"
#include "platform/rpc_client.h"
#include "tests/auth/requests.h"

using namespace request_test;
using Quorvex::PC::Common::CAccessToken;
using Quorvex::PC::Common::CSid;

namespace {

class Impersonation : public Requests {
 protected:
  void Serve(const std::function<void()>& action) { InServerCall(Bob(), action); }
};

WideString UserOf(const CAccessToken& token) {
  CSid user;
  EXPECT_TRUE(token.GetUser(user)) << GetLastError();
  return user.Sid();
}

TEST_F(Impersonation, LastsFromOpeningToRevert) {
  Serve([this] {
    CAccessToken client;
    ASSERT_TRUE(client.OpenRPCClientToken());
    ASSERT_NE(host::ThreadToken(), nullptr);
    EXPECT_EQ(*host::ThreadToken(), Bob());
    EXPECT_TRUE(client.Revert());
    EXPECT_EQ(host::ThreadToken(), nullptr);
    EXPECT_EQ(UserOf(client), WideString(BobSid().begin(), BobSid().end())) << "the token outlives the impersonation";
    EXPECT_TRUE(client.Revert()) << "there is nothing to end";
    EXPECT_TRUE(client.OpenRPCClientToken()) << "and a holder can be used again";
    client.Clear();
    EXPECT_EQ(client.Get(), nullptr);
    EXPECT_NE(host::ThreadToken(), nullptr) << "clearing takes no way back";
    EXPECT_TRUE(client.Revert());
    EXPECT_EQ(host::ThreadToken(), nullptr);
  });
}

TEST_F(Impersonation, DoesNotBeginWhereATokenCannotBeHad) {
  Serve([] {
    CAccessToken client;
    for (const char* function : {"RpcImpersonateClient", "OpenThreadToken"}) {
      host::FailCall(function, 1, 8);
      EXPECT_FALSE(client.OpenRPCClientToken());
      EXPECT_EQ(GetLastError(), 8u);
      EXPECT_EQ(host::ThreadToken(), nullptr);
      EXPECT_EQ(client.Get(), nullptr);
    }
  });
  CAccessToken nobody;
  EXPECT_FALSE(nobody.OpenRPCClientToken());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(RPC_S_NO_CALL_ACTIVE));
}

TEST_F(Impersonation, StaysWhereTheRevertFails) {
  Serve([] {
    CAccessToken client;
    ASSERT_TRUE(client.OpenRPCClientToken());
    host::FailCall("RpcRevertToSelfEx", 1, 1726);
    EXPECT_FALSE(client.Revert());
    EXPECT_NE(host::ThreadToken(), nullptr);
    host::FailCall("SetThreadToken", 1, 5);
    EXPECT_FALSE(client.Revert()) << "the way back is used up; the thread's own way fails too";
    EXPECT_NE(host::ThreadToken(), nullptr);
    EXPECT_TRUE(client.Revert());
    EXPECT_EQ(host::ThreadToken(), nullptr);
  });
}

// A revert that fails answers false and nothing else: the request goes its way.
TEST_F(Impersonation, ARequestGoesOnWhenItsRevertFails) {
  const support::RpcClient client(Bob());
  host::FailCall("RpcRevertToSelfEx", 1, 1726);
  bool reached = false;
  host::AtCall("RegSetKeyValueW", [&reached] {
    reached = true;
    EXPECT_NE(host::ThreadToken(), nullptr);
    EXPECT_TRUE(CAccessToken().Revert());  // as the thread must not be left behind like this
  });
  HRESULT result = 1;
  EXPECT_EQ(CatchRpcException([&] {
              result = Client_Hkd04a7Rpc_RegisterAppServiceForNotification(client.Binding(), W("Package"), W("Service"),
                                                                           0, 1, 0);
            }),
            RPC_S_OK);
  EXPECT_EQ(result, S_OK);
  EXPECT_TRUE(reached);
}

TEST_F(Impersonation, ATokensUserIsReadInTwoCalls) {
  Serve([] {
    CAccessToken client;
    ASSERT_TRUE(client.OpenRPCClientToken());
    ASSERT_TRUE(client.Revert());
    SetLastError(4711);
    CSid user;
    EXPECT_TRUE(client.GetUser(user));
    EXPECT_EQ(GetLastError(), 4711u);
    const WideString before = user.Sid();
    for (const unsigned call : {1u, 2u}) {
      host::FailCall("GetTokenInformation", call, 6);
      EXPECT_FALSE(client.GetUser(user));
      EXPECT_EQ(GetLastError(), 6u);
    }
    host::FailCall("GetTokenInformation", 2, ERROR_INSUFFICIENT_BUFFER);
    EXPECT_FALSE(client.GetUser(user)) << "a user that has grown";
    EXPECT_EQ(user.Sid(), before);
    EXPECT_FALSE(CAccessToken().GetUser(user)) << "no token";
  });
}

// A holder with a profile, which no code here loads.
class HolderWithProfile : public CAccessToken {
 public:
  explicit HolderWithProfile(HANDLE handle) : CAccessToken(handle) { userProfile = &profile_; }
  bool IsEmpty() const { return token == nullptr && userProfile == nullptr; }

 private:
  int profile_ = 0;
};

TEST(TokenHolder, LeavesTheLastErrorWhereItWas) {
  HANDLE token = nullptr;
  ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
  HolderWithProfile holder(token);
  SetLastError(4711);
  holder.Clear();
  EXPECT_EQ(GetLastError(), 4711u) << "also where the profile cannot be unloaded";
  EXPECT_TRUE(holder.IsEmpty());
  EXPECT_TRUE(host::OpenHandleCounts().empty());
}

TEST(Sid, IsHeldByValue) {
  CSid sid;
  EXPECT_EQ(sid.Sid(), W("")) << "none is held";
  EXPECT_FALSE(IsValidSid(sid.Get()));
  SID localSystem{SID_REVISION, 1, SECURITY_NT_AUTHORITY, {SECURITY_LOCAL_SYSTEM_RID}};
  ASSERT_TRUE(sid.Assign(&localSystem));
  EXPECT_TRUE(EqualSid(sid.Get(), &localSystem));
  EXPECT_EQ(sid.Sid(), W("S-1-5-18"));
  SID everyone{SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {SECURITY_WORLD_RID}};
  ASSERT_TRUE(sid.Assign(&everyone));
  EXPECT_EQ(sid.Sid(), W("S-1-1-0"));
  everyone.Revision = 0;
  EXPECT_FALSE(sid.Assign(&everyone));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_SID));
  EXPECT_EQ(sid.Sid(), W("S-1-1-0"));
}

}  // namespace
