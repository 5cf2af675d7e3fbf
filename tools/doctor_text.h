// Findings as people and programs read them. Pure functions.
#pragma once

#include <string>

#include "tools/doctor_finding.h"

namespace tool::doctor {

// Several lines without the last line end:
//   error    HKLM\...\Events\32 (32-bit view), value "Lamp"
//            no task of this path is registered
//            do: hkd04a7ctl task list
std::string FindingText(const Finding& finding);

// {"severity","rule","key","view","value","why","next"}; "key", "view" and "value" where there is one, "next" where
// there is something to do.
std::string FindingJson(const Finding& finding);

// "1 error, 2 warnings, 3 notes".
std::string SummaryText(const Findings& findings);

// Whether something is found that does not work.
bool HasErrors(const Findings& findings);

}  // namespace tool::doctor
