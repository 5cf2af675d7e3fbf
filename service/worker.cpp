#include "service/worker.h"

#include "device/device_capabilities.h"
#include "platform/services.h"
#include "rpc/rpc_server.h"
#include "rpc/wakeup_check_event.h"
#include "service/com_apartment.h"
#include "service/completion_key.h"
#include "service/debug_log.h"
#include "service/device_notification.h"
#include "service/install_location.h"
#include "service/packet_loop.h"
#include "service/service_context.h"
#include "service/version_guard.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr DWORD kNoWakeCheckEvent = 190;

void ReportRunning(CServiceHost& host) {
  host.status.SetState(SERVICE_RUNNING);
  host.status.SetWin32ExitCode(NO_ERROR);
  host.status.Report();
}

bool CreateWakeCheckEvent(CServiceHost& host) {
  if (CreateWakeupCheckEvent(host.wakeCheckEvent)) return true;
  host.status.SetServiceSpecificExitCode(kNoWakeCheckEvent);
  return false;
}

void Serve(CServiceHost& host, CServiceContext& context) {
  DebugLog(W("HKD04A7: worker thread: ready"));
  if (!RegisterWithDevice(host, context)) return;
  ProbeDeviceCapabilities(context);
  PostPacket(host.completionPort, CompletionKey::WakeCheck);
  ServePackets(host, context);
}

}  // namespace

void RunWorker(CServiceHost& host) {
  const ComApartment apartment;
  ReportRunning(host);
  if (IsInstalledVersionTooOld()) return SetServiceToDemandStart();
  RegisterInstallLocation();
  CServiceContext context;
  if (!CreateWakeCheckEvent(host)) return;
  // Destroyed before the context: the interface is gone before the libraries are.
  CRpcServer rpcServer;
  if (!rpcServer.Start()) return DebugLog(W("Failed to start HKD04A7 RPC server\n"));
  Serve(host, context);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
