// The path of the running program.
#pragma once

#include <string>

namespace host {

// What SetExecutablePath set, else the real path; empty when the system does not tell it. Any thread.
std::u16string ExecutablePath();

}  // namespace host
