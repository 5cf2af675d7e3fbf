// Programs as people name them on a command line.
#pragma once

#include <string>

namespace tool {

// The whole path of `name`: a name without a slash is looked for along `searchPath` ("dir:dir"), others from the
// current directory. Empty when there is no file of that name that can be executed.
std::string FindProgram(const std::string& name, const std::string& searchPath);

}  // namespace tool
