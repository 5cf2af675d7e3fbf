#include "appservice/notify_decision.h"

#include <algorithm>

#include "common/format.h"
#include "device/event_id.h"
#include "platform/errors.h"
#include "platform/processes.h"

namespace Quorvex::PC::Hkd04a7 {

std::optional<DWORD> FirstActiveSession(std::span<const WTS_SESSION_INFOW> sessions) {
  const auto active = std::find_if(sessions.begin(), sessions.end(),
                                   [](const WTS_SESSION_INFOW& session) { return session.State == WTSActive; });
  if (active == sessions.end()) return std::nullopt;
  return active->SessionId;
}

DWORD CreationFlagsOf(std::uint32_t eventId) {
  const bool isBusyTime = eventId == EventId::PowerResume || eventId == EventId::SessionChange;
  const DWORD priority = isBusyTime ? BELOW_NORMAL_PRIORITY_CLASS : NORMAL_PRIORITY_CLASS;
  return priority | CREATE_UNICODE_ENVIRONMENT | CREATE_NEW_CONSOLE;
}

bool FormatDeliveryCommandLine(CommandLineBuffer& commandLine, const WCHAR* program, std::uint32_t eventId,
                               std::uint32_t data1, std::uint32_t data2) {
  return Common::Format(commandLine, W("\"%s\" -appservice -event %u -data1 %u -data2 %u"), program, eventId, data1,
                        data2);
}

bool MayLackPrivilege(DWORD error) {
  return error == ERROR_PRIVILEGE_NOT_HELD || error == ERROR_ACCESS_DENIED;
}

}  // namespace Quorvex::PC::Hkd04a7
