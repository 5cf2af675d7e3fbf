#include "service/debug_log.h"

#include "platform/debug_output.h"
#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7 {

bool g_enableLog = false;

void WriteDebugLine(const WCHAR* format, std::span<const Common::FormatArgument> arguments) {
  const DWORD lastError = GetLastError();
  WCHAR line[200];
  Common::FormatBounded(line, std::size(line), format, arguments);
  OutputDebugStringW(line);
  SetLastError(lastError);
}

}  // namespace Quorvex::PC::Hkd04a7
