// What the road of an event costs before and behind the RPC step: from the device's notification to a client of the
// real service, the fan-out's own time where nothing is listed for an event, and how long an app service waits for its
// message from the moment at which the service creates the client mode's process. And what the service costs that has
// no event.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "bench/clock.h"
#include "bench/measurement.h"
#include "bench/road_machine.h"
#include "bench/server_roles.h"
#include "bench/service_figures.h"
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

// The real service beside a device that answers from memory.
std::vector<bench::Figure> MeasureService(bench::RoadMachine& machine, const bench::Measurement& measurement,
                                          unsigned idleSeconds) {
  constexpr unsigned kWaits = 100;
  const std::vector<double> fanOutAlone = bench::MeasureFanOutAlone(measurement);
  const pid_t service = machine.StartServiceOfMemory();
  std::vector<bench::Figure> figures = bench::MeasureNotification(measurement, fanOutAlone);
  for (const unsigned waits : {0u, kWaits}) {
    if (idleSeconds == 0) break;
    for (bench::Figure& figure : bench::MeasureIdle(service, waits, idleSeconds)) figures.push_back(std::move(figure));
  }
  machine.EndService();
  return figures;
}

}  // namespace

int main(int argc, char** argv) {
  if (const int role = argc == 2 ? bench::PlayServerRole(argv[1]) : -1; role >= 0) return role;
  bench::Measurement measurement;
  unsigned events = 1000;
  unsigned presses = 20;
  unsigned idle = 2;
  CLI::App app("What the road of an event costs, and an idle service.", "road-bench");
  bench::AddOptions(app, measurement);
  bench::AddCheckOption(app, measurement);
  app.add_option("--events", events, "events a round")->check(CLI::Range(1u, 100'000u));
  app.add_option("--presses", presses, "presses a round, each with a client mode")->check(CLI::Range(1u, 10'000u));
  app.add_option("--idle", idle, "seconds in which the idle service is watched; 0: not at all")
      ->check(CLI::Range(0u, 3600u));
  int code = 0;
  if (!bench::Prepare(app, argc, argv, measurement, &code)) return code;

  bench::RoadMachine machine;
  std::vector<bench::Figure> figures = MeasureService(machine, measurement, idle);
  figures.push_back(
      bench::FigureOf("NotifyEvent, nothing listed", "us", MeasureFanOut(measurement, events), kFanOutMicroseconds));
  figures.push_back(bench::FigureOf("process creation to app service", "ms",
                                    MeasureReceipt(machine, measurement, presses), kReceiptMilliseconds));
  return bench::Report(measurement, figures);
}
