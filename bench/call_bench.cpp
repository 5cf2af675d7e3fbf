// What a call and a session of the RPC server cost, measured beside what the sockets alone allow.
//
//   call-bench [--check] [--json] [--rounds N] [--phase MS] [--sessions N] [--cpus 0,1]
//
// All processes run on one processor unless told otherwise.
#include <sched.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <vector>

#include "bench/call_figures.h"
#include "bench/server_roles.h"
#include "bench/temporary_machine.h"
#include "platform/host/base/open_files.h"

namespace {

struct Options {
  bench::CallSettings settings;
  unsigned phaseMilliseconds = 500;
  std::vector<unsigned> cpus{0};
  bool check = false;
  bool json = false;
};

void AddOptions(CLI::App& app, Options& options) {
  app.add_flag("--check", options.check, "exit status 1 when a figure is not what it must be");
  app.add_flag("--json", options.json, "a JSON object instead of a table");
  app.add_option("--rounds", options.settings.rounds, "rounds, whose median counts")->check(CLI::Range(1, 1000));
  app.add_option("--phase", options.phaseMilliseconds, "length of a phase in milliseconds")
      ->check(CLI::Range(1, 60000));
  app.add_option("--sessions", options.settings.sessions, "sessions open when their size is taken")
      ->check(CLI::Range(1, 100000));
  app.add_option("--cpus", options.cpus, "processors to run on")->delimiter(',')->check(CLI::Range(0, CPU_SETSIZE - 1));
}

// Child processes inherit it.
bool RunOn(const std::vector<unsigned>& cpus) {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (const unsigned cpu : cpus) CPU_SET(cpu, &set);
  return sched_setaffinity(0, sizeof(set), &set) == 0;
}

int Measure(const Options& options) {
  host::RaiseOpenFileLimit();
  if (!RunOn(options.cpus)) {
    std::perror("call-bench: processors");
    return 2;
  }
  const bench::TemporaryMachine machine;
  bench::ServerProcess service(bench::kRpcRole);
  const bench::ServerProcess raw(bench::kRawRole);
  const auto figures = bench::MeasureCalls(options.settings, service);
  options.json ? bench::PrintJson(figures) : bench::PrintTable(figures);
  return options.check && !bench::AllHold(figures) ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (const int code = argc == 2 ? bench::PlayServerRole(argv[1]) : -1; code >= 0) return code;
  Options options;
  CLI::App app("What a call and a session of the RPC server cost.", "call-bench");
  AddOptions(app, options);
  CLI11_PARSE(app, argc, argv);
  options.settings.phase = std::int64_t{options.phaseMilliseconds} * 1'000'000;
  return Measure(options);
}
