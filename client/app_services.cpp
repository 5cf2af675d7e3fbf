#include "client/app_services.h"

#include "platform/rpc_client.h"
#include "platform/rpc_interface.h"

namespace client {
namespace {

constexpr DWORD kAnyData1 = 1;
constexpr DWORD kQuery = 2;

DWORD FlagsOf(const AppServiceEvent& event) {
  return event.data1 ? 0 : kAnyData1;
}

}  // namespace

AppServices::AppServices(Connection& connection) : connection_(connection) {}

Status AppServices::Register(const WideString& packageFamilyName, const WideString& appServiceName,
                             const AppServiceEvent& event) {
  return CallRegister(packageFamilyName, appServiceName, event, FlagsOf(event));
}

Status AppServices::Query(const WideString& packageFamilyName, const WideString& appServiceName,
                          const AppServiceEvent& event) {
  return CallRegister(packageFamilyName, appServiceName, event, FlagsOf(event) | kQuery);
}

Status AppServices::CallRegister(const WideString& packageFamilyName, const WideString& appServiceName,
                                 const AppServiceEvent& event, DWORD flags) {
  Status status{"Hkd04a7Rpc_RegisterAppServiceForNotification"};
  status.rpc = CatchRpcException([&] {
    status.result = Client_Hkd04a7Rpc_RegisterAppServiceForNotification(
        connection_.Binding(), packageFamilyName.c_str(), appServiceName.c_str(), flags, event.eventId,
        event.data1.value_or(0));
  });
  return status;
}

Status AppServices::Unregister(const WideString& packageFamilyName, const AppServiceEvent& event) {
  Status status{"Hkd04a7Rpc_UnregisterAppServiceForNotification"};
  status.rpc = CatchRpcException([&] {
    status.result = Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(
        connection_.Binding(), packageFamilyName.c_str(), FlagsOf(event), event.eventId, event.data1.value_or(0));
  });
  return status;
}

}  // namespace client
