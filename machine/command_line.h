// A command line and its arguments.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace machine {

// The arguments of a command line, the program's name first, by the rules of CommandLineToArgvW:
// - the first one ends at its second quotation mark, or without quotation marks at the first blank or tab; backslashes
//   mean nothing in it;
// - of the others, blanks and tabs outside quotation marks stand between arguments; 2n backslashes before a quotation
//   mark are n of them and the mark begins or ends a quotation; with one more backslash the mark stands for itself;
//   other backslashes stand for themselves.
// An empty line has no arguments.
std::vector<std::string> SplitCommandLine(std::string_view line);

}  // namespace machine
