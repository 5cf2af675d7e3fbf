// What a client asks of the service in the demo, one process each, and what must come of it.
#pragma once

#include <string>
#include <vector>

#include "tools/options.h"

namespace tool {

// Who asks: the user's package, the same in an app container that lacks the capability for the endpoint, or the one who
// runs the machine.
enum class Asker { Package, Container, Owner };

struct DemoRequest {
  Asker asker;
  std::vector<std::string> words;  // of the tool's command line
  int exitCode;
  std::string answer;  // stands somewhere in the output
};

// Runs the tool as the request says, prints its command line and what it answers, and beside an answer that is not the
// expected one what was expected. Whether it was; false too when it did not end in time or Ctrl-C came.
bool PlayRequest(const DemoRequest& request);

}  // namespace tool
