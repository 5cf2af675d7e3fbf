// Does to the running service what nobody but the system or a client could. Exit status 0 when all went well.
//
//   service_control send CODE...           sends controls; prints each one's answer, a Win32 code
//   service_control hold PROGRAM ARGS...   runs a program while it has the wake-check event open; ends with its status
//   service_control queued-event           has a client find a session's event queued, over a sleep of the machine
#include <process.h>
#include <windows.h>

#include <cstdio>
#include <string>

#include "common/handles.h"
#include "common/service_name.h"
#include "rpc/wakeup_check_event.h"
#include "tests/rpc_windows/client_binding.h"
#include "tests/service_windows/control_codes.h"

namespace {

using Quorvex::PC::Common::UniqueHandle;
using Quorvex::PC::Common::UniqueServiceHandle;

DWORD Send(DWORD code) {
  const UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  const UniqueServiceHandle service(
      OpenServiceW(manager.Get(), Quorvex::PC::Common::kServiceName,
                   SERVICE_USER_DEFINED_CONTROL | SERVICE_INTERROGATE | SERVICE_PAUSE_CONTINUE));
  SERVICE_STATUS status = {};
  return service && ControlService(service.Get(), code, &status) ? ERROR_SUCCESS : GetLastError();
}

UniqueHandle OpenWakeCheckEvent() {
  return UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, Quorvex::PC::Hkd04a7::Service::kCompletedCheckWakeupEvent));
}

int SendAll(wchar_t** codes) {
  for (; *codes != nullptr; ++codes) std::printf("%ls: %lu\n", *codes, Send(std::wcstoul(*codes, nullptr, 0)));
  return 0;
}

int Hold(wchar_t** command) {
  const UniqueHandle event = OpenWakeCheckEvent();
  if (!event) return 1;
  return static_cast<int>(_wspawnvp(_P_WAIT, command[0], command));
}

bool Failed(const char* what, Answer answer) {
  if (answer != kSucceeded) std::printf("%s: %ld, %08lx\n", what, answer.status, static_cast<DWORD>(answer.result));
  return answer != kSucceeded;
}

// When the wake check of the resume is done, the worker has done with the session's notice before it too.
bool PlayLogonAndSleep() {
  const DWORD codes[] = {SessionCode(WTS_SESSION_LOGON), PowerCode(PBT_APMSUSPEND), PowerCode(PBT_APMRESUMEAUTOMATIC),
                         PowerCode(PBT_APMRESUMESUSPEND)};
  for (const DWORD code : codes)
    if (Send(code) != ERROR_SUCCESS) return false;
  const UniqueHandle event = OpenWakeCheckEvent();
  return event && WaitForSingleObject(event.Get(), 20'000) == WAIT_OBJECT_0;
}

int QueuedEvent() {
  const Binding binding(L"Hkd04a7RpcEndpoint");
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  if (Failed("subscribe", Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Create(binding.Handle(), &subscription); })))
    return 1;
  if (!PlayLogonAndSleep()) return 1;
  Hkd04a7Rpc_EventRecord record = {};
  if (Failed("wait", WaitForEvent(subscription, &record))) return 1;
  std::printf("event %lu, %lu, %lu\n", static_cast<DWORD>(record.eventId), static_cast<DWORD>(record.data1),
              static_cast<DWORD>(record.data2));
  return Failed("destroy", Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription); })) ? 1 : 0;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const std::wstring action = count > 1 ? arguments[1] : L"";
  if (action == L"send") return SendAll(arguments + 2);
  if (action == L"hold" && count > 2) return Hold(arguments + 2);
  if (action == L"queued-event") return QueuedEvent();
  std::fprintf(stderr, "usage: service_control send CODE... | hold PROGRAM ARGS... | queued-event\n");
  return 2;
}
