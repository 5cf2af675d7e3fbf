// A client that opens two device sessions at the endpoint it is given, says so by the named event it is given, and
// holds them until it is ended. usage: session_holder ENDPOINT EVENT
#include <windows.h>

#include "tests/rpc_windows/client_binding.h"

int wmain(int count, wchar_t** arguments) {
  if (count != 3) return 2;
  const Binding binding(arguments[1]);
  Hkd04a7Rpc_DeviceHandle devices[2] = {};
  for (Hkd04a7Rpc_DeviceHandle& device : devices) {
    if (Ask([&] { return Client_Hkd04a7Rpc_Device_Create(binding.Handle(), &device); }) != kSucceeded) return 1;
  }
  const HANDLE opened = OpenEventW(EVENT_MODIFY_STATE, FALSE, arguments[2]);
  if (opened == nullptr || !SetEvent(opened)) return 1;
  Sleep(INFINITE);
  return 0;
}
