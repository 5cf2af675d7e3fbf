// What calls, sessions and events of the RPC server cost, measured beside what the sockets alone allow. All processes
// run on one processor unless told otherwise.
#include <CLI/CLI.hpp>
#include <iterator>

#include "bench/call_figures.h"
#include "bench/event_figures.h"
#include "bench/measurement.h"
#include "bench/server_roles.h"
#include "bench/temporary_machine.h"
#include "platform/host/base/open_files.h"

namespace {

std::vector<bench::Figure> Measure(const bench::Measurement& measurement, unsigned many, bool calls, bool events) {
  const bench::ServerProcess service(bench::kRpcRole);
  std::vector<bench::Figure> figures;
  const auto append = [&](std::vector<bench::Figure> more) {
    figures.insert(figures.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
  };
  if (events) {
    append({bench::MeasureSubscriptionSize(many, service)});
    append(bench::MeasureEvents(measurement, many, service, bench::ServerProcess(bench::kRawEventsRole)));
  }
  if (calls) {
    const bench::ServerProcess raw(bench::kRawCallsRole);
    append(bench::MeasureCalls(measurement, many, service));
  }
  return figures;
}

}  // namespace

int main(int argc, char** argv) {
  if (const int role = argc == 2 ? bench::PlayServerRole(argv[1]) : -1; role >= 0) return role;
  bench::Measurement measurement;
  unsigned many = 1000;
  bool calls = false;
  bool events = false;
  CLI::App app("What calls, sessions and events of the RPC server cost.", "rpc-bench");
  bench::AddOptions(app, measurement);
  bench::AddCheckOption(app, measurement);
  app.add_option("--most", many, "sessions or subscriptions at once, at most")->check(CLI::Range(1u, 100'000u));
  app.add_flag("--calls", calls, "calls and sessions only");
  app.add_flag("--events", events, "events only");
  int code = 0;
  if (!bench::Prepare(app, argc, argv, measurement, &code)) return code;
  host::RaiseOpenFileLimit();

  static const bench::TemporaryMachine machine;  // goes whatever way the program ends
  return bench::Report(measurement, Measure(measurement, many, calls || !events, events || !calls));
}
