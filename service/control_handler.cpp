#include "service/control_handler.h"

#include "common/mutex.h"
#include "platform/errors.h"
#include "platform/sync.h"
#include "rpc/wakeup_record.h"
#include "service/completion_key.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

// Held while a control is handled: the host lives until the handler has left it.
Common::Mutex g_controlledHostLock;
CServiceHost* g_controlledHost HKD_GUARDED_BY(g_controlledHostLock) = nullptr;

void ClearWakeupRecord() {
  WriteWakeupSwitchRecord(0);
  WriteWakeupButtonRecord(0);
}

void StopWorker(CServiceHost& host) {
  host.status.SetWin32ExitCode(NO_ERROR);
  host.status.SetState(SERVICE_STOP_PENDING);
  host.status.Report();
  DebugLog(W("hkd04a7 StopWorker() 1\n"));
  PostPacket(host.completionPort, CompletionKey::Stop);
}

void OnSuspend(CServiceHost& host) {
  host.resumePosted = false;
  ResetEvent(host.wakeCheckEvent);
  ClearWakeupRecord();
}

// Up to three notifications tell of one resume; the first one after a suspend asks for the wake check.
void OnResume(CServiceHost& host) {
  if (host.resumePosted) return;
  host.resumePosted = true;
  PostPacket(host.completionPort, CompletionKey::WakeCheck);
}

void OnPowerEvent(CServiceHost& host, DWORD eventType) {
  switch (eventType) {
    case PBT_APMSUSPEND:
      return OnSuspend(host);
    case PBT_APMRESUMECRITICAL:
    case PBT_APMRESUMESUSPEND:
    case PBT_APMRESUMEAUTOMATIC:
      return OnResume(host);
    default:
      return;
  }
}

void OnSessionChange(CServiceHost& host, DWORD eventType, const WTSSESSION_NOTIFICATION& notification) {
  PostPacket(host.completionPort, CompletionKey::SessionChange, eventType, notification.dwSessionId);
  if (eventType == WTS_CONSOLE_DISCONNECT || eventType == WTS_SESSION_LOGOFF) ClearWakeupRecord();
}

DWORD HandleControl(CServiceHost& host, DWORD control, DWORD eventType, LPVOID eventData) {
  switch (control) {
    case SERVICE_CONTROL_STOP:
      StopWorker(host);
      return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
      host.status.Report();
      return NO_ERROR;
    case SERVICE_CONTROL_POWEREVENT:
      OnPowerEvent(host, eventType);
      return NO_ERROR;
    case SERVICE_CONTROL_SESSIONCHANGE:
      OnSessionChange(host, eventType, *static_cast<const WTSSESSION_NOTIFICATION*>(eventData));
      return NO_ERROR;
    default:
      return ERROR_CALL_NOT_IMPLEMENTED;
  }
}

}  // namespace

ControlledHost::ControlledHost(CServiceHost& host) {
  const Common::MutexLock lock(g_controlledHostLock);
  g_controlledHost = &host;
}

ControlledHost::~ControlledHost() {
  const Common::MutexLock lock(g_controlledHostLock);
  g_controlledHost = nullptr;
}

DWORD WINAPI ServiceCtrlHandler(DWORD control, DWORD eventType, LPVOID eventData, LPVOID context) {
  const Common::MutexLock lock(g_controlledHostLock);
  if (context == nullptr || context != g_controlledHost) return ERROR_CALL_NOT_IMPLEMENTED;
  return HandleControl(*g_controlledHost, control, eventType, eventData);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
