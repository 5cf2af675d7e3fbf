// What the targets behind the RPC step cost: the fan-out's own time where nothing is listed for an event, and how long
// an app service waits for its message from the moment at which the service creates the client mode's process.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "bench/clock.h"
#include "bench/measurement.h"
#include "bench/road_machine.h"
#include "bench/statistics.h"
#include "device/event_notify.h"
#include "platform/com.h"

namespace {

using Quorvex::PC::Hkd04a7::NotifyEvent;
using Quorvex::PC::Hkd04a7::Service::CServiceContext;

constexpr std::chrono::milliseconds kBetweenEvents{1};
constexpr std::uint32_t kEvent = 1;
constexpr bench::Goal kFanOutMicroseconds = bench::AtMost(150);
constexpr bench::Goal kReceiptMilliseconds = bench::AtMost(30);

// The median of `count` events, in microseconds. There is no tracing library here and no subscription, so all of it is
// behind the RPC step.
double FanOutMedian(CServiceContext& context, unsigned count) {
  std::vector<std::int64_t> times;
  for (unsigned i = 0; i < count; ++i) {
    std::this_thread::sleep_for(kBetweenEvents);
    const std::int64_t begin = bench::Now();
    NotifyEvent(context, kEvent, 1, 0);
    times.push_back(bench::Now() - begin);
  }
  return bench::Microseconds(bench::Median(times));
}

std::vector<double> MeasureFanOut(const bench::Measurement& measurement, unsigned events) {
  std::vector<double> rounds;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  {
    CServiceContext context;
    if (!context.taskService || !context.wtsApi.WTSQueryUserToken) {
      std::fprintf(stderr, "road-bench: the Task Scheduler or the terminal services are missing\n");
      exit(1);
    }
    for (unsigned i = 0; i < measurement.rounds; ++i) rounds.push_back(FanOutMedian(context, events));
  }
  CoUninitialize();
  return rounds;
}

// The median of `count` presses, in milliseconds.
double ReceiptMedian(bench::RoadMachine& machine, unsigned count) {
  std::vector<double> times;
  for (unsigned i = 0; i < count; ++i) times.push_back(machine.PressAndAwaitReceipt());
  return bench::Median(times);
}

std::vector<double> MeasureReceipt(bench::RoadMachine& machine, const bench::Measurement& measurement,
                                   unsigned presses) {
  std::vector<double> rounds;
  machine.StartServiceAndApp();
  for (unsigned i = 0; i < measurement.rounds; ++i) rounds.push_back(ReceiptMedian(machine, presses));
  return rounds;
}

}  // namespace

int main(int argc, char** argv) {
  bench::Measurement measurement;
  unsigned events = 1000;
  unsigned presses = 20;
  CLI::App app("What the targets behind the RPC step cost.", "road-bench");
  bench::AddOptions(app, measurement);
  bench::AddCheckOption(app, measurement);
  app.add_option("--events", events, "events a round")->check(CLI::Range(1u, 100'000u));
  app.add_option("--presses", presses, "presses a round, each with a client mode")->check(CLI::Range(1u, 10'000u));
  int code = 0;
  if (!bench::Prepare(app, argc, argv, measurement, &code)) return code;

  bench::RoadMachine machine;
  const std::vector<bench::Figure> figures = {
      bench::FigureOf("NotifyEvent, nothing listed", "us", MeasureFanOut(measurement, events), kFanOutMicroseconds),
      bench::FigureOf("process creation to app service", "ms", MeasureReceipt(machine, measurement, presses),
                      kReceiptMilliseconds)};
  return bench::Report(measurement, figures);
}
