// The processes below this one.
#pragma once

#include <sys/types.h>

#include <set>
#include <vector>

namespace machine {

// Every living descendant of the calling process at this moment, zombies left out; of a `spared` one nothing, itself
// included. Parents before their children.
std::vector<pid_t> Descendants(const std::set<pid_t>& spared = {});

// Kills and reaps every descendant of the calling process but the children in `spared` and what is below them. For a
// process that adopts what its children leave behind.
void EndAllBut(const std::set<pid_t>& spared);

}  // namespace machine
