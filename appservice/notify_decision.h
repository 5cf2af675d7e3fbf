// What the user-session notifier decides: whom it tells, how urgently, and with which words.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/sessions.h"
#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7 {

// The first session of the list that is active, in the list's order; none when no session is.
std::optional<DWORD> FirstActiveSession(std::span<const WTS_SESSION_INFOW> sessions);

// The creation flags of the program that delivers the event: below normal priority for a resume and for a session
// change, when much else is starting, normal otherwise.
DWORD CreationFlagsOf(std::uint32_t eventId);

// Room for a command line with its terminator.
inline constexpr std::size_t kCommandLineCapacity = 300;
using CommandLineBuffer = WCHAR[kCommandLineCapacity];

// The command line with which `program` delivers the event. False when it does not fit.
bool FormatDeliveryCommandLine(CommandLineBuffer& commandLine, const WCHAR* program, std::uint32_t eventId,
                               std::uint32_t data1, std::uint32_t data2);

// Whether a session's user may be had after all, once the service has enabled its privilege to act as part of the
// operating system; `error` is that of the attempt without.
bool MayLackPrivilege(DWORD error);

}  // namespace Quorvex::PC::Hkd04a7
