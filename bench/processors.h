// Where a measurement runs.
#pragma once

#include <vector>

namespace bench {

// Keeps this process, and those it starts, to `processors`. False, with errno, when the system has none of them.
bool RunOn(const std::vector<unsigned>& processors);

}  // namespace bench
