#include "service/service_main.h"

#include <memory>
#include <new>

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
  host.status.SetState(SERVICE_STOPPED);
  host.status.Report();
}

}  // namespace

void WINAPI ServiceMain(DWORD, LPWSTR*) {
  const std::unique_ptr<CServiceHost> host(new (std::nothrow) CServiceHost);
  if (!host) return;
  const ControlledHost controlled(*host);
  const SERVICE_STATUS_HANDLE handle = RegisterServiceCtrlHandlerExW(kServiceName, &ServiceCtrlHandler, host.get());
  if (handle == nullptr) return;
  host->status.SetStatusHandle(handle);
  RunRegistered(*host);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
