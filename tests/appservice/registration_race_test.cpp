// Many clients that register and unregister at the same key at once.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "appservice/registration_store.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/rpc_client.h"
#include "tests/auth/requests.h"

using namespace request_test;
using namespace Quorvex::PC::Hkd04a7;

namespace {

constexpr int kClients = 8;
constexpr int kRounds = 30;
constexpr DWORD kEvent = 33;

HRESULT Register(const support::RpcClient& client, const WideString& package, DWORD flags) {
  HRESULT result = E_UNEXPECTED;
  CatchRpcException([&] {
    result = Client_Hkd04a7Rpc_RegisterAppServiceForNotification(client.Binding(), package.c_str(), W("service"),
                                                                 flags | APPSERVICE_REG_ANY_DATA1, kEvent, 0);
  });
  return result;
}

HRESULT Unregister(const support::RpcClient& client, const WideString& package) {
  HRESULT result = E_UNEXPECTED;
  CatchRpcException([&] {
    result = Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(client.Binding(), package.c_str(),
                                                                   APPSERVICE_REG_ANY_DATA1, kEvent, 0);
  });
  return result;
}

class RegistrationRace : public Requests {};

// The moment at which a registration would go with the key: the last value is gone, the key not yet.
TEST_F(RegistrationRace, KeepsWhatComesInWhileTheEmptyKeyGoes) {
  const support::RpcClient leaving(Bob());
  const support::RpcClient coming(Bob());
  ASSERT_EQ(Register(leaving, W("Leaving"), 0), S_OK);
  std::thread registering;
  std::atomic<HRESULT> registered = E_UNEXPECTED;
  host::AtCall("RegDeleteKeyW", [&] {
    registering = std::thread([&] { registered = Register(coming, W("Coming"), 0); });
    // It cannot end before the key has gone; without the serialisation it ends now.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  });
  EXPECT_EQ(Unregister(leaving, W("Leaving")), S_OK);
  ASSERT_TRUE(registering.joinable());
  registering.join();
  EXPECT_EQ(registered, S_OK);
  EXPECT_EQ(Register(coming, W("Coming"), APPSERVICE_REG_QUERY), S_OK);
}

// Each client removes what is its own, which keeps emptying the key, and must always find what it has registered.
TEST_F(RegistrationRace, LosesNoRegistration) {
  std::atomic<int> lost = 0;
  std::vector<std::thread> clients;
  for (int number = 0; number < kClients; ++number) {
    clients.emplace_back([&, number] {
      const support::RpcClient client(Bob());
      const WideString package = WideString(W("Package")) + static_cast<WCHAR>('A' + number);
      for (int round = 0; round < kRounds; ++round) {
        const bool kept = Register(client, package, 0) == S_OK &&
                          Register(client, package, APPSERVICE_REG_QUERY) == S_OK &&
                          Unregister(client, package) == S_OK;
        lost += kept ? 0 : 1;
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(lost, 0);
}

}  // namespace
