// What a flat function does with an argument that this layer does not carry out.
#pragma once

#include <string_view>

namespace host {

// Ends the process (abort) after one line on standard error that names the call and the argument: a wrong answer
// would be worse. Any thread.
[[noreturn]] void Unsupported(std::string_view call, std::string_view argument);

}  // namespace host
