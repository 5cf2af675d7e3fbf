// Taking the machine's part of the snapshot.
#pragma once

#include "tools/doctor_snapshot.h"

namespace tool::doctor {

// Asks the machine, if one is up. What it does not answer stays absent; nothing is reported.
MachineFacts AskMachine();

}  // namespace tool::doctor
