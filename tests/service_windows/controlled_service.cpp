// The service's program, but that its control handler sees user-defined controls as power and session controls.
#include <windows.h>

#include "service/entry_point.h"
#include "tests/service_windows/control_codes.h"

namespace {

LPHANDLER_FUNCTION_EX g_handler = nullptr;

DWORD WINAPI Translate(DWORD control, DWORD eventType, LPVOID data, LPVOID context) {
  if (control >= kFirstSessionCode) {
    WTSSESSION_NOTIFICATION notice = {sizeof notice, kNoticeSession};
    return g_handler(SERVICE_CONTROL_SESSIONCHANGE, control - kFirstSessionCode, &notice, context);
  }
  if (control >= kFirstPowerCode)
    return g_handler(SERVICE_CONTROL_POWEREVENT, control - kFirstPowerCode, data, context);
  return g_handler(control, eventType, data, context);
}

SERVICE_STATUS_HANDLE WINAPI RegisterTranslated(LPCWSTR name, LPHANDLER_FUNCTION_EX handler, LPVOID context) {
  const HMODULE library = LoadLibraryExW(L"advapi32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  const auto address = GetProcAddress(library, "RegisterServiceCtrlHandlerExW");
  g_handler = handler;
  return reinterpret_cast<decltype(&RegisterTranslated)>(reinterpret_cast<void*>(address))(name, &Translate, context);
}

}  // namespace

// Through this the product calls the function: defined here, it is not taken from the import library.
extern "C" const decltype(&RegisterTranslated) __imp_RegisterServiceCtrlHandlerExW = &RegisterTranslated;

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
  return Quorvex::PC::Hkd04a7::Service::RunProcess(__argc, __wargv);
}
