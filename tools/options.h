// What holds for every subcommand, and what the command line chose to do.
#pragma once

#include <functional>

namespace tool {

struct Options {
  bool json = false;  // --json: one object a line instead of text

  // The chosen subcommand; answers the exit code. Set while the command line is parsed, run afterwards.
  std::function<int()> action;
};

}  // namespace tool
