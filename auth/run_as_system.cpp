#include "auth/run_as_system.h"

#include "auth/client_capabilities.h"
#include "auth/command_allow_list.h"
#include "auth/create_process_as_system.h"
#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7::Service {

HRESULT RunFileAsSystem(DWORD flags, const WCHAR* command, const WCHAR* par, DWORD* exitCode) {
  if (command == nullptr || par == nullptr) return E_INVALIDARG;
  if (!CanRpcClientUseDangerousHkd04a7RpcApi()) return E_ACCESSDENIED;
  AllowedCommand allowed = GetAllowedCommand(command);
  if (allowed.application.empty()) return E_NOTIMPL;
  // Neither quoted nor escaped nor looked at: whoever allows a command allows it with any parameters.
  if (*par != 0) allowed.parameters.append(W(" ")).append(par);
  CWtsProcessApi wtsApi;
  wtsApi.LoadAndBind();
  return CreateProcessAsSystem(wtsApi, flags, allowed, exitCode);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
