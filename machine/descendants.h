// The processes below this one.
#pragma once

#include <sys/types.h>

#include <vector>

namespace machine {

// Every living descendant of the calling process at this moment, zombies left out.
std::vector<pid_t> Descendants();

}  // namespace machine
