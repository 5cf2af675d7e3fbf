// Where trace records go: `<runtime>/trace.log` of the machine on the host, "hkd04a7-utility-etw.log" beside the
// library on Windows.
#pragma once

#include <cstdint>
#include <string_view>

// Appends `record` whole, in one write, so that records of several processes do not mix. False, with the last error
// left, when it cannot be written. Any thread.
bool AppendTraceRecord(std::string_view record);

// True when records can be written; else false with the last error left.
bool CanWriteTraceFile();

std::uint32_t CurrentProcess();
