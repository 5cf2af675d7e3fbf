// One daemon for each machine: a locked file that goes with its process.
#pragma once

#include <string>

#include "machine/unique_descriptor.h"

namespace machine {

// The lock on `path`, held until the owner closes it; the file then tells the holder's pid.
// Not valid, with a sentence in `error`, when another one holds it.
UniqueDescriptor LockInstance(const std::string& path, std::string* error);

}  // namespace machine
