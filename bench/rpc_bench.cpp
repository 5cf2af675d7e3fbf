// What calls, sessions and events of the RPC server cost, measured beside what the sockets alone allow. All processes
// run on one processor unless told otherwise.
#include <CLI/CLI.hpp>
#include <utility>

#include "bench/call_figures.h"
#include "bench/event_figures.h"
#include "bench/measurement.h"
#include "bench/server_roles.h"
#include "bench/temporary_machine.h"
#include "platform/host/base/open_files.h"

namespace {

using Figures = std::vector<bench::Figure>;

// Each part has a server of its own: what a subscription or a session adds to its size shows only in a fresh one.
Figures Events(const bench::Measurement& measurement, unsigned many) {
  const bench::Figure queued = bench::MeasureQueuedEvent(bench::ServerProcess(bench::kRpcRole));
  const bench::ServerProcess service(bench::kRpcRole);
  const bench::ServerProcess raw(bench::kRawEventsRole);
  Figures figures{bench::MeasureSubscriptionSize(many, service), queued};
  for (bench::Figure& figure : bench::MeasureEvents(measurement, many, service, raw)) {
    figures.push_back(std::move(figure));
  }
  return figures;
}

Figures Calls(const bench::Measurement& measurement, unsigned many) {
  const bench::ServerProcess service(bench::kRpcRole);
  const bench::ServerProcess raw(bench::kRawCallsRole);
  return bench::MeasureCalls(measurement, many, service);
}

Figures Measure(const bench::Measurement& measurement, unsigned many, bool calls, bool events) {
  Figures figures = calls ? Calls(measurement, many) : Figures{};
  if (!events) return figures;
  for (bench::Figure& figure : Events(measurement, many)) figures.push_back(std::move(figure));
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
