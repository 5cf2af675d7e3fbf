// The command line that every measurement has, and its end.
#pragma once

#include <cstdint>
#include <vector>

#include "bench/figures.h"

namespace CLI {
class App;
}

namespace bench {

struct Measurement {
  unsigned rounds = 5;
  unsigned phaseMilliseconds = 500;
  std::vector<unsigned> processors{0};
  bool check = false;
  bool json = false;

  std::int64_t Phase() const { return std::int64_t{phaseMilliseconds} * 1'000'000; }  // nanoseconds
};

// --rounds, --phase, --cpus, --json; with figures that have to hold, --check too.
void AddOptions(CLI::App& app, Measurement& measurement);
void AddCheckOption(CLI::App& app, Measurement& measurement);

// Reads the command line, and sets the program up to run on the processors it names. False when the program is to end
// with `*code`: after the help, or because of a mistake that has been told.
bool Prepare(CLI::App& app, int argc, char** argv, const Measurement& measurement, int* code);

// Prints the figures; the process's exit code.
int Report(const Measurement& measurement, const std::vector<Figure>& figures);

}  // namespace bench
