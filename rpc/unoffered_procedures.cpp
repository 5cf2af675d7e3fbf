// Procedures of the interface that this version of the service does not offer. Each is refused with "procedure number
// out of range", as if the interface ended before it.
#include "platform/rpc_interface.h"

namespace {

[[noreturn]] void RefuseProcedure() {
  RpcRaiseException(RPC_S_PROCNUM_OUT_OF_RANGE);
}

}  // namespace

HRESULT Hkd04a7Rpc_RegisterAppServiceForNotification(handle_t, const WCHAR*, const WCHAR*, DWORD, DWORD, DWORD) {
  RefuseProcedure();
}

HRESULT Hkd04a7Rpc_UnregisterAppServiceForNotification(handle_t, const WCHAR*, DWORD, DWORD, DWORD) {
  RefuseProcedure();
}

HRESULT Hkd04a7Rpc_RunFileAsSystem(handle_t, DWORD, const WCHAR*, const WCHAR*, DWORD*) {
  RefuseProcedure();
}
