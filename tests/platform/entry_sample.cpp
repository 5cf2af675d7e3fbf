// A program whose entry point is wWinMain, for the entry test.
#include "platform/process_entry.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR commandLine, int) {
  const bool arrived = __argc == 3 && WideStringView(__wargv[1]) == W("-event") &&
                       WideStringView(__wargv[2]) == W("\u00E4\u20AC\U0001D11E x") && __wargv[3] == nullptr &&
                       WideStringView(commandLine) == W("-event \u00E4\u20AC\U0001D11E x");
  return arrived ? 0x107 : 1;
}
