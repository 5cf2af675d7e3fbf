// The trace channel, as a test reads it.
#pragma once

#include <string>
#include <vector>

namespace support {

// The trace events written so far in the machine of this process, oldest first, as "WriteHkd04a7Event(1, 5, 0)".
std::vector<std::string> TraceRecords();

}  // namespace support
