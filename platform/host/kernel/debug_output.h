// The debugger output channel: `<runtime>/debug.log`, one JSON object a line.
//   {"t": CLOCK_MONOTONIC in ns, "wall": ms since 1970, "pid": N, "line": "text exactly as given"}
#pragma once

#include <functional>
#include <string_view>

#include "platform/host/base/types.h"

// Appends one record, whole, with one write; records of several processes never mix. Without a machine's folder the
// text goes nowhere. Any thread; the last error is left alone.
void OutputDebugStringW(LPCWSTR text);

namespace host {

// Hands every line of this process to `tap` as well, on the thread that wrote it, one line at a time; `tap` must not
// write lines itself. An empty function ends it and returns only when no call of it is running.
void CaptureDebugOutput(std::function<void(std::u16string_view)> tap);

}  // namespace host
