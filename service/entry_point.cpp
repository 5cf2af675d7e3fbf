#include "service/entry_point.h"

#include "appservice/client_mode.h"
#include "platform/services.h"
#include "service/command_line.h"
#include "service/debug_log.h"
#include "service/log_switch.h"
#include "service/service_main.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

int RunAsService() {
  // The control manager accepts the empty name: the service has a process of its own.
  WCHAR emptyName[] = W("");
  const SERVICE_TABLE_ENTRYW table[] = {{emptyName, &ServiceMain}, {nullptr, nullptr}};
  return StartServiceCtrlDispatcherW(table) ? 0 : -1;
}

int RunAppServiceMode(const CommandLineOptions& options) {
  const auto event = EventOfCommandLine(options);
  if (!event) {
    DebugLog(W("hkd04a7 -appservice - event or data missing\n"));
    return 0;
  }
  NotifyEventByUwpAppService(event->eventId, event->data1, event->data2);
  return 0;
}

}  // namespace

int RunProcess(int argumentCount, WCHAR* const* arguments) {
  g_enableLog = ReadLogSwitch();
  if (argumentCount <= 1) return RunAsService();
  const CommandLineOptions options = ParseCommandLine(argumentCount, arguments);
  return SelectsAppServiceMode(options) ? RunAppServiceMode(options) : RunAsService();
}

}  // namespace Quorvex::PC::Hkd04a7::Service
