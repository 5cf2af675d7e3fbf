// What each code means when this interface answers it: the same number says different things from different procedures.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace client {

struct InterfaceAnswer {
  std::uint32_t code;
  bool fromRuntime;       // the runtime's status (the procedure was not reached or not finished), else a result
  std::string_view from;  // the procedures that answer it, as people call them: "device session: open"
  std::string_view meaning;
};

// All meanings of the code, in the order of the procedures; none for a code that the interface does not answer. Pure;
// any thread.
std::vector<InterfaceAnswer> InterfaceAnswers(std::uint32_t code);

}  // namespace client
