// A small service of the system tests, written against the seam alone. Its service arguments say what it does:
//   end <n>        ends its process with status n right after it runs
//   hang           never stops: answers the stop request and goes on
//   late           reports once more after it has stopped
//   refuse         stops at once with a service-specific exit code
// Every control it gets stands in the machine's history with its answer: event type + 100 for power events, session id
// + 200 for session changes.
#include <condition_variable>
#include <cstdlib>
#include <mutex>

#include "platform/process_entry.h"
#include "platform/services.h"
#include "platform/types.h"

namespace {

struct DummyService {
  SERVICE_STATUS_HANDLE handle = nullptr;
  WideString behaviour;
  std::mutex mutex;
  std::condition_variable changed;
  bool stop = false;  // guarded by mutex
};

DummyService g_service;

bool Report(DWORD state, DWORD exitCode = 0, DWORD specificCode = 0) {
  SERVICE_STATUS status = {SERVICE_WIN32_OWN_PROCESS, state, 0, exitCode, specificCode, 0, 3000};
  status.dwControlsAccepted = SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_POWEREVENT | SERVICE_ACCEPT_SESSIONCHANGE;
  return SetServiceStatus(g_service.handle, &status) != FALSE;
}

void RequestStop() {
  Report(SERVICE_STOP_PENDING);
  if (g_service.behaviour == W("hang")) return;
  const std::lock_guard lock(g_service.mutex);
  g_service.stop = true;
  g_service.changed.notify_all();
}

DWORD WINAPI HandleControl(DWORD control, DWORD eventType, LPVOID eventData, LPVOID) {
  switch (control) {
    case SERVICE_CONTROL_STOP:
      RequestStop();
      return 0;
    case SERVICE_CONTROL_INTERROGATE:
      return 0;
    case SERVICE_CONTROL_POWEREVENT:
      return eventType + 100;
    case SERVICE_CONTROL_SESSIONCHANGE:
      return static_cast<const WTSSESSION_NOTIFICATION*>(eventData)->dwSessionId + 200;
    default:
      return 120;
  }
}

void AwaitStop() {
  std::unique_lock lock(g_service.mutex);
  g_service.changed.wait(lock, [] { return g_service.stop; });
}

void WINAPI RunService(DWORD argumentCount, LPWSTR* arguments) {
  g_service.behaviour = argumentCount > 1 ? arguments[1] : W("");
  g_service.handle = RegisterServiceCtrlHandlerExW(W("Dummy"), &HandleControl, nullptr);
  Report(SERVICE_START_PENDING);
  if (g_service.behaviour == W("refuse")) {
    Report(SERVICE_STOPPED, 1066, 77);
    return;
  }
  Report(SERVICE_RUNNING);
  if (g_service.behaviour == W("end")) std::_Exit(3);
  AwaitStop();
  // The manager ends the connection of a service that has stopped only with its process.
  Report(SERVICE_STOPPED);
  if (g_service.behaviour == W("late")) Report(SERVICE_RUNNING);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
  WCHAR name[] = W("");
  const SERVICE_TABLE_ENTRYW table[] = {{name, &RunService}, {nullptr, nullptr}};
  return StartServiceCtrlDispatcherW(table) != FALSE ? 0 : 7;
}
