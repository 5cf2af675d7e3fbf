// The module "wtsapi32.dll".
#include "platform/host/kernel/system_modules.h"
#include "platform/host/services/sessions.h"

namespace {

template <typename Function>
FARPROC Export(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

}  // namespace

// Nothing calls into this file by name; whoever links the group asks for this symbol, so that the module is there.
extern "C" const bool kTerminalServicesModule;
const bool kTerminalServicesModule = [] {
  host::RegisterSystemModule(u"wtsapi32.dll", {{"WTSEnumerateProcessesExW", Export(&WTSEnumerateProcessesExW)},
                                               {"WTSEnumerateSessionsW", Export(&WTSEnumerateSessionsW)},
                                               {"WTSFreeMemory", Export(&WTSFreeMemory)},
                                               {"WTSFreeMemoryExW", Export(&WTSFreeMemoryExW)},
                                               {"WTSQueryUserToken", Export(&WTSQueryUserToken)}});
  return true;
}();
