// What a call and a session of the RPC server cost, measured beside what the sockets alone allow. All processes run on
// one processor unless told otherwise.
#include <CLI/CLI.hpp>

#include "bench/call_figures.h"
#include "bench/measurement.h"
#include "bench/server_roles.h"
#include "bench/temporary_machine.h"
#include "platform/host/base/open_files.h"

int main(int argc, char** argv) {
  if (const int role = argc == 2 ? bench::PlayServerRole(argv[1]) : -1; role >= 0) return role;
  bench::Measurement measurement;
  unsigned sessions = 1000;
  CLI::App app("What a call and a session of the RPC server cost.", "call-bench");
  bench::AddOptions(app, measurement);
  bench::AddCheckOption(app, measurement);
  app.add_option("--sessions", sessions, "sessions open when their size is taken")->check(CLI::Range(1u, 100'000u));
  int code = 0;
  if (!bench::Prepare(app, argc, argv, measurement, &code)) return code;
  host::RaiseOpenFileLimit();

  static const bench::TemporaryMachine machine;  // goes whatever way the program ends
  bench::ServerProcess service(bench::kRpcRole);
  const bench::ServerProcess raw(bench::kRawRole);
  return bench::Report(measurement, bench::MeasureCalls(measurement, sessions, service));
}
