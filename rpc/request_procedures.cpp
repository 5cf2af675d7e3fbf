// Procedures 6, 7 and 9 of the interface: requests that are logged, passed on and logged again. They run on the RPC
// runtime's threads, any number at once.
#include <new>

#include "appservice/registration_store.h"
#include "auth/run_as_system.h"
#include "platform/errors.h"
#include "platform/rpc_interface.h"
#include "service/debug_log.h"

using namespace Quorvex::PC::Hkd04a7;
using namespace Quorvex::PC::Hkd04a7::Service;

namespace {

// The result of `request`; no exception may leave a server routine.
template <typename Request>
HRESULT Answer(Request request) {
  try {
    return request();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

HRESULT Hkd04a7Rpc_RegisterAppServiceForNotification(handle_t, const WCHAR* packageFamilyName,
                                                     const WCHAR* appServiceName, DWORD flags, DWORD eventId,
                                                     DWORD data1) {
  DebugLog(W("%s enter\n"), W("Hkd04a7Rpc_RegisterAppServiceForNotification"));
  const HRESULT result = Answer(
      [&] { return RegisterAppServiceForNotification(packageFamilyName, appServiceName, flags, eventId, data1); });
  DebugLog(W("exit hr=%08xh\n"), result);
  return result;
}

HRESULT Hkd04a7Rpc_UnregisterAppServiceForNotification(handle_t, const WCHAR* packageFamilyName, DWORD flags,
                                                       DWORD eventId, DWORD data1) {
  DebugLog(W("%s enter\n"), W("Hkd04a7Rpc_UnregisterAppServiceForNotification"));
  const HRESULT result =
      Answer([&] { return UnregisterAppServiceForNotification(packageFamilyName, flags, eventId, data1); });
  DebugLog(W("exit hr=%08xh\n"), result);
  return result;
}

// The request is logged before it is looked at, so that a refused one is logged too.
HRESULT Hkd04a7Rpc_RunFileAsSystem(handle_t, DWORD flags, const WCHAR* command, const WCHAR* par, DWORD* exitCode) {
  DebugLog(W("%s enter\n"), W("Hkd04a7Rpc_RunFileAsSystem"));
  DebugLog(W(" flags=%08xh, comamnd=%s, par=%s\n"), flags, command, par);
  const HRESULT result = Answer([&] { return RunFileAsSystem(flags, command, par, exitCode); });
  DebugLog(W(" exit with hr=%08x, code=%08xh\n"), result, *exitCode);
  return result;
}
