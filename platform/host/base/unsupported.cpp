#include "platform/host/base/unsupported.h"

#include <cstdio>
#include <cstdlib>

namespace host {

void Unsupported(std::string_view call, std::string_view argument) {
  std::fprintf(stderr, "host layer: %.*s: not supported: %.*s\n", static_cast<int>(call.size()), call.data(),
               static_cast<int>(argument.size()), argument.data());
  std::fflush(stderr);
  std::abort();
}

}  // namespace host
