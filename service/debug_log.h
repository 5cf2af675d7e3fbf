// The one trace function of the system: formatted lines to the platform's debugger output channel.
//
// Tracing is off unless the registry switch "EnableLog" was set when the process started; while it is off a call costs
// one test of a boolean and formats nothing. A line is passed on exactly as formatted, without a time stamp or a line
// end of its own; one of more than 199 characters is cut to 199, never between the halves of a surrogate pair.
// Callable from every thread; no lock, no allocation. The last error stays as it was, so that a failure can be logged
// and then answered.
#pragma once

#include <span>

#include "common/format.h"
#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7 {

// Written once by the entry point before any other part runs, only read afterwards.
extern bool g_enableLog;

// Formats and emits one line. Callers use DebugLog.
void WriteDebugLine(const WCHAR* format, std::span<const Common::FormatArgument> arguments);

template <typename... Args>
void DebugLog(const WCHAR* format, const Args&... args) {
  if (!g_enableLog) return;
  const Common::FormatArgument arguments[] = {Common::FormatArgument(args)..., Common::FormatArgument(0)};
  WriteDebugLine(format, std::span(arguments, sizeof...(Args)));
}

}  // namespace Quorvex::PC::Hkd04a7
