#include "service/service_main.h"

#include <memory>
#include <new>

#include "common/service_name.h"
#include "platform/completion_port.h"
#include "platform/errors.h"
#include "service/control_handler.h"
#include "service/service_host.h"
#include "service/worker.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr DWORD kNoCompletionPort = 149;

bool CreateCompletionPort(CServiceHost& host) {
  host.completionPort = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 0);
  return host.completionPort != nullptr;
}

void RunRegistered(CServiceHost& host) {
  host.status.SetState(SERVICE_START_PENDING);
  host.status.Report();
  if (CreateCompletionPort(host)) {
    host.status.AdvanceCheckPoint();
    host.status.Report();
    RunWorker(host);
  } else {
    host.status.SetServiceSpecificExitCode(kNoCompletionPort);
  }
}

// False when there is no control handler: nothing can be reported then.
bool RunControlled(CServiceHost& host) {
  const ControlledHost controlled(host);
  const SERVICE_STATUS_HANDLE handle = RegisterServiceCtrlHandlerExW(Common::kServiceName, &ServiceCtrlHandler, &host);
  if (handle == nullptr) return false;
  host.status.SetStatusHandle(handle);
  RunRegistered(host);
  return true;
}

}  // namespace

void WINAPI ServiceMain(DWORD, LPWSTR*) {
  const std::unique_ptr<CServiceHost> host(new (std::nothrow) CServiceHost);
  if (!host) return;
  if (!RunControlled(*host)) return;
  // No control reaches the host any more, so none can change or follow the last report.
  host->status.SetState(SERVICE_STOPPED);
  host->status.Report();
}

}  // namespace Quorvex::PC::Hkd04a7::Service
