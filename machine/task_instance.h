// Names of the runs of tasks.
#pragma once

#include <string>

namespace machine {

// A new random GUID as "{D97E5D3B-70F0-4C6A-9F3C-0A3E6B1B7C55}".
std::string NewTaskInstance();

}  // namespace machine
