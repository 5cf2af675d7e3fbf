// The program's entry. It stands apart from the product library, so that tests can link the rest.
#include "platform/process_entry.h"
#include "service/entry_point.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
  return Quorvex::PC::Hkd04a7::Service::RunProcess(__argc, __wargv);
}
