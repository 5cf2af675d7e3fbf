// How a road is printed.
#pragma once

#include <string>

#include "tools/road.h"

namespace tool {

// A line for each station, with the time since the first and since the one before, then what each target took. Pure.
std::string RoadText(const Road& road);

// {"entries":[{"station","at","took","what"}...],"targets":{"trace":ns,...},"inOrder"}; a target that nothing came to
// is null. Times in nanoseconds, `at` since the first station. Pure.
std::string RoadJson(const Road& road);

}  // namespace tool
