// What is to be started, and how a program ended.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "machine/token.h"
#include "platform/host/base/types.h"

namespace machine {

struct ProcessRequest {
  std::string program;                 // an absolute path
  std::vector<std::string> arguments;  // without the program itself
  Token token;
  std::string commandLine;                              // as it was given; empty: there was none
  std::string calledAs;                                 // what the program is called there; empty: its path
  std::optional<std::vector<std::string>> environment;  // "NAME=value", all of it; none: the daemon's, for this machine
  std::string directory;                                // the current one to begin with; empty: the daemon's
  bool belowNormal = false;                             // its priority
  // Files that take standard output and error; empty: the machine's output.log. What cannot be opened at once (a fifo
  // that nobody reads) fails the start.
  std::string output;
  std::string errorOutput;
  pid_t requester = 0;  // who asked for it; 0: the machine itself
};

// How a program ended.
struct ProcessEnd {
  bool signalled = false;
  int value = 0;  // exit status, or the number of the signal
};

std::string Describe(const ProcessEnd& end);

// 0 to 255, or 128 and the number of the signal.
DWORD ExitCode(const ProcessEnd& end);

}  // namespace machine
