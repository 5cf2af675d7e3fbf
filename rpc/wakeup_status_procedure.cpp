// Procedure 8 of the interface: what woke the machine, once that is known.
#include "common/hresult.h"
#include "platform/errors.h"
#include "platform/rpc_interface.h"
#include "rpc/device_session.h"
#include "rpc/wakeup_check_event.h"
#include "rpc/wakeup_status.h"
#include "service/debug_log.h"

using namespace Quorvex::PC::Hkd04a7;
using namespace Quorvex::PC::Hkd04a7::Service;

HRESULT Hkd04a7Rpc_Device_GetWakeupStatus(Hkd04a7Rpc_DeviceHandle device, DWORD wakeupKind, DWORD* wakeupInfo) {
  DebugLog(W("%s enter\n"), W("Hkd04a7Rpc_Device_GetWakeupStatus"));
  if (FindDeviceSession(device) == nullptr) return E_HANDLE;
  if (wakeupInfo == nullptr) return E_INVALIDARG;
  if (!IsWakeupCheckCompleted()) return Quorvex::PC::Common::HresultFromWin32(ERROR_TIMEOUT);
  const HRESULT result =
      AnswerWakeupQuery(wakeupKind, &ReadWakeupSwitchInfo, &ReadWakeupOnetouchButtonInfo, *wakeupInfo);
  DebugLog(W("Hkd04a7Rpc_Device_GetWakeupStatus() exit hr=0x%08x\n"), result);
  return result;
}
