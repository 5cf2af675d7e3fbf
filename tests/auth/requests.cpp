#include "tests/auth/requests.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "auth/client_capabilities.h"
#include "auth/command_allow_list.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/thread_token.h"
#include "platform/registry.h"
#include "platform/rpc_client.h"
#include "tests/support/registry_values.h"

namespace request_test {

using namespace Quorvex::PC::Hkd04a7::Service;

Requests::Requests() : adaSid_(LogOn("ada", false)), bobSid_(LogOn("bob", true)) {}

void Requests::SetUp() {
  service.StartAndSettle();
  // The last line of the start, on a thread of its own.
  ASSERT_TRUE(service.Log().WaitFor("worker thread of listening"));
  client_ = std::make_unique<support::RpcClient>(BobIn(kPackageName));
  TakeLog();
}

std::string Requests::LogOn(const char* user, bool remote) {
  nlohmann::json reply;
  EXPECT_EQ(service.Machine().Call("session.logon", {{"user", user}, {"remote", remote}}, &reply), 0u);
  return reply.at("sid").get<std::string>();
}

host::TokenFacts Requests::Ada() const {
  host::TokenFacts ada;
  ada.userSid = adaSid_;
  ada.session = 1;
  return ada;
}

host::TokenFacts Requests::Bob() const {
  host::TokenFacts bob;
  bob.userSid = bobSid_;
  bob.session = 2;
  return bob;
}

host::TokenFacts Requests::BobIn(const std::string& package) const {
  host::TokenFacts bob = Bob();
  bob.packageFamilyName = package;
  return bob;
}

namespace {

RunAnswer RunOver(handle_t binding, DWORD flags, const WCHAR* command, const WCHAR* par) {
  RunAnswer answer{0, 0xEEEEEEEE};
  HRESULT result = 0;
  const RPC_STATUS status = CatchRpcException(
      [&] { result = Client_Hkd04a7Rpc_RunFileAsSystem(binding, flags, command, par, &answer.exitCode); });
  answer.result = static_cast<DWORD>(status != RPC_S_OK ? status : result);
  return answer;
}

}  // namespace

RunAnswer Requests::Run(DWORD flags, const WCHAR* command, const WCHAR* par) {
  return RunOver(client_->Binding(), flags, command, par);
}

RunAnswer Requests::RunAs(const host::TokenFacts& who, DWORD flags, const WCHAR* command, const WCHAR* par) {
  const support::RpcClient client(who);
  return RunOver(client.Binding(), flags, command, par);
}

void Requests::InServerCall(const host::TokenFacts& who, const std::function<void()>& action) {
  bool done = false;
  host::AtCall("RegGetValueW", [&] {
    if (std::exchange(done, true)) return;
    EXPECT_EQ(host::ThreadToken(), nullptr);
    action();
  });
  const support::RpcClient client(who);
  CatchRpcException([&] {
    Client_Hkd04a7Rpc_RegisterAppServiceForNotification(client.Binding(), W("Package"), W("Service"), 2, 1, 0);
  });
  EXPECT_TRUE(done);
  host::ClearFaults();
}

WideString SoftwareKey(const WideString& subKey) {
  const auto driver = support::Text(W("System\\CurrentControlSet\\Enum\\ACPI\\QVX04A7\\0"), W("Driver"));
  const WideString key = W("System\\CurrentControlSet\\Control\\Class\\") + driver.value_or(W("none"));
  return subKey.empty() ? key : key + W("\\") + subKey;
}

void SetEntry(const WCHAR* table, const WideString& name, DWORD type, const void* data, std::size_t size) {
  EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, SoftwareKey(table).c_str(), name.c_str(), type, data,
                            static_cast<DWORD>(size)),
            ERROR_SUCCESS);
}

void Grant(const WideString& package, DWORD bits) {
  SetEntry(kRestrictedRpcKey, package, REG_DWORD, &bits, sizeof(bits));
}

void Allow(const WideString& identifier, const std::vector<WideString>& strings) {
  WideString data;
  for (const WideString& text : strings) data.append(text).push_back(0);
  data.push_back(0);
  SetEntry(kCommandKey, identifier, REG_MULTI_SZ, data.data(), data.size() * sizeof(WCHAR));
}

void RemoveEntry(const WCHAR* table, const WideString& name) {
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, SoftwareKey(table).c_str(), 0, KEY_SET_VALUE, &key), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteValueW(key, name.c_str()), ERROR_SUCCESS);
  RegCloseKey(key);
}

}  // namespace request_test
