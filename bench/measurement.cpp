#include "bench/measurement.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "bench/processors.h"

namespace bench {

namespace {

constexpr unsigned kMostRounds = 1000;
constexpr unsigned kLongestPhase = 60'000;
constexpr unsigned kHighestProcessor = 1023;
constexpr int kUsage = 2;

}  // namespace

void AddOptions(CLI::App& app, Measurement& measurement) {
  app.add_option("--rounds", measurement.rounds, "rounds, whose median counts")->check(CLI::Range(1u, kMostRounds));
  app.add_option("--phase", measurement.phaseMilliseconds, "length of a phase in milliseconds")
      ->check(CLI::Range(1u, kLongestPhase));
  app.add_option("--cpus", measurement.processors, "processors to run on, by default the first")
      ->delimiter(',')
      ->check(CLI::Range(0u, kHighestProcessor));
  app.add_flag("--json", measurement.json, "a JSON object instead of a table");
}

void AddCheckOption(CLI::App& app, Measurement& measurement) {
  app.add_flag("--check", measurement.check, "exit status 1 when a figure is not what it must be");
}

bool Prepare(CLI::App& app, int argc, char** argv, const Measurement& measurement, int* code) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    *code = app.exit(error) == 0 ? 0 : kUsage;
    return false;
  }
  if (RunOn(measurement.processors)) return true;
  std::perror((app.get_name() + ": processors").c_str());
  *code = kUsage;
  return false;
}

int Report(const Measurement& measurement, const std::vector<Figure>& figures) {
  measurement.json ? PrintJson(figures) : PrintTable(figures);
  return measurement.check && !AllHold(figures) ? 1 : 0;
}

}  // namespace bench
