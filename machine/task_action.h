// What a run of a task runs. Pure functions.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "machine/task.h"

namespace machine {

// The most that a run is given.
inline constexpr std::size_t kMaxTaskArguments = 32;

// `text` with $(Arg0) to $(Arg31) replaced by the run's arguments, by nothing where the run has none. What an argument
// brings in is not looked at again; anything else that begins with a dollar sign stands for itself.
std::string SubstituteArguments(std::string_view text, const std::vector<std::string>& arguments);

// The command line of a run: the program in quotation marks, a blank, its substituted arguments.
std::string TaskCommandLine(const Task& task, const std::vector<std::string>& arguments);

}  // namespace machine
