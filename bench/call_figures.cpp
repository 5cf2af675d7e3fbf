#include "bench/call_figures.h"

#include <dlfcn.h>

#include <functional>
#include <string>

#include "bench/clock.h"
#include "bench/service_clients.h"
#include "bench/statistics.h"
#include "client/connection.h"
#include "client/device_session.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/executable_path.h"
#include "service/debug_log.h"

namespace bench {

namespace {

constexpr Goal kCall = AtMost(1.5, 1.2);
constexpr Goal kDeviceCall = AtMost(1.7);
constexpr Goal kRate = AtLeast(0.76, 0.9);
constexpr Goal kSpread = AtMost(10);
constexpr Goal kOpenMicroseconds = AtMost(200);
constexpr Goal kSessionKiB = AtMost(6);
constexpr Goal kLogNanoseconds = AtMost(1);
constexpr unsigned kManyClients = 16;
constexpr unsigned kCrowd = 64;

// What one phase gave.
struct Phase {
  double median = 0;  // of a round trip, microseconds
  double spread = 0;  // the 99th percentile, in medians
  double rate = 0;    // calls a second
};

Phase MeasureCalls(const Measurement& measurement, const std::vector<CallingClient>& clients) {
  CallTimes times;
  if (!CallFor(measurement.Phase(), clients, &times)) CannotGoOn("call");
  CloseAll(clients);
  const auto median = static_cast<double>(Median(times.roundTrips));
  return {median / 1000, static_cast<double>(Quantile(times.roundTrips, 0.99)) / median, times.callsPerSecond};
}

// The median round trip through the client library, in microseconds.
double CallThroughLibrary(const Measurement& measurement) {
  client::Connection connection;
  client::DeviceSession session(connection);
  if (!connection.Open().Ok() || !session.Open().Ok()) CannotGoOn("open a session through the client library");
  std::vector<std::int64_t> times;
  const std::int64_t until = Now() + measurement.Phase();
  while (Now() < until) {
    DWORD result = 0;
    const std::int64_t begin = Now();
    if (!session.Call(0, 0, 0, 0, &result).Ok()) CannotGoOn("call through the client library");
    times.push_back(Now() - begin);
  }
  return Microseconds(Median(times));
}

// The time of one call of the device stand-in itself, in microseconds.
double CallDeviceAlone() {
  using Function = std::int32_t(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t*);
  std::u16string path = host::ExecutablePath();
  path.resize(path.rfind(u'/') + 1);
  void* library = dlopen((host::ToUtf8(path) + "hkd04a7-utility.dll").c_str(), RTLD_NOW | RTLD_LOCAL);
  auto* function = library == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(library, "InternalCallFuncMethod"));
  if (function == nullptr) CannotGoOn("load the device stand-in");
  constexpr int kCalls = 1'000'000;
  std::uint32_t result = 0;
  const std::int64_t begin = Now();
  for (std::uint32_t i = 0; i < kCalls; ++i) function(i, 0, 0, 0, &result);
  const std::int64_t end = Now();
  dlclose(library);
  return Microseconds(end - begin) / kCalls;
}

// The time of one log line of the product that is switched off, in nanoseconds.
double LogSwitchedOff() {
  constexpr int kLines = 10'000'000;
  const std::int64_t begin = Now();
  for (int i = 0; i < kLines; ++i) {
    Quorvex::PC::Hkd04a7::DebugLog(W("line %d of %s\n"), i, W("many"));
    asm volatile("" ::: "memory");  // the switch is looked at for each line
  }
  return static_cast<double>(Now() - begin) / kLines;
}

// What one session on a connection of its own adds to the resident size, in KiB.
double SizeOfSession(unsigned sessions, const ServerProcess& service) {
  constexpr unsigned kWarmUp = 16;
  CloseAll(ConnectSessions(ProductSessions(), kWarmUp));
  service.AwaitIdle();
  const std::size_t before = service.ResidentBytes();
  const auto clients = ConnectSessions(ProductSessions(), sessions);
  const std::size_t after = service.ResidentBytes();
  CloseAll(clients);
  service.AwaitIdle();
  return (static_cast<double>(after) - static_cast<double>(before)) / sessions / 1024;
}

// The figures of one round, by what is measured.
struct Rounds {
  std::vector<double> call, rawCall, callRatio, deviceCall, deviceRatio, rate, rawRate, rateRatio, spread, rawSpread,
      open, library, libraryRatio;
};

void OneClient(const Measurement& measurement, Rounds& rounds) {
  const Phase ours = MeasureCalls(measurement, ConnectSessions(EngineSessions(), 1));
  const Phase raw = MeasureCalls(measurement, ConnectRaw(1));
  const Phase device = MeasureCalls(measurement, ConnectSessions(ProductSessions(), 1));
  const double library = CallThroughLibrary(measurement);
  rounds.call.push_back(ours.median);
  rounds.rawCall.push_back(raw.median);
  rounds.callRatio.push_back(ours.median / raw.median);
  rounds.deviceCall.push_back(device.median);
  rounds.deviceRatio.push_back(device.median / raw.median);
  rounds.library.push_back(library);
  rounds.libraryRatio.push_back(library / raw.median);
}

void ManyClients(const Measurement& measurement, Rounds& rounds) {
  const Phase many = MeasureCalls(measurement, ConnectSessions(EngineSessions(), kManyClients));
  const Phase rawMany = MeasureCalls(measurement, ConnectRaw(kManyClients));
  rounds.rate.push_back(many.rate);
  rounds.rawRate.push_back(rawMany.rate);
  rounds.rateRatio.push_back(many.rate / rawMany.rate);

  rounds.spread.push_back(MeasureCalls(measurement, ConnectSessions(ProductSessions(), kCrowd)).spread);
  rounds.rawSpread.push_back(MeasureCalls(measurement, ConnectRaw(kCrowd)).spread);
}

}  // namespace

std::vector<Figure> MeasureCalls(const Measurement& measurement, unsigned sessions, const ServerProcess& service) {
  const double size = SizeOfSession(sessions, service);
  Rounds rounds;
  for (unsigned i = 0; i < measurement.rounds; ++i) {
    OneClient(measurement, rounds);
    ManyClients(measurement, rounds);
    rounds.open.push_back(Microseconds(Median(OpenSessionsFor(measurement.Phase(), ProductSessions()))));
  }
  return {
      FigureOf("call, one client", "raw calls", rounds.callRatio, kCall),
      FigureOf("call, one client", "us", rounds.call),
      FigureOf("raw call, one client", "us", rounds.rawCall),
      FigureOf("calls, 16 connections", "of raw", rounds.rateRatio, kRate),
      FigureOf("calls, 16 connections", "a second", rounds.rate),
      FigureOf("raw calls, 16 connections", "a second", rounds.rawRate),
      FigureOf("device call, one client", "raw calls", rounds.deviceRatio, kDeviceCall),
      FigureOf("device call, one client", "us", rounds.deviceCall),
      FigureOf("the device stand-in itself", "us", {CallDeviceAlone()}),
      FigureOf("device call through the client library", "raw calls", rounds.libraryRatio),
      FigureOf("device call through the client library", "us", rounds.library),
      FigureOf("64 clients, 99th percentile of a device call", "medians", rounds.spread, kSpread),
      FigureOf("64 raw clients, 99th percentile of a call", "medians", rounds.rawSpread),
      FigureOf("opening a session, library loaded", "us", rounds.open, kOpenMicroseconds),
      FigureOf("resident size of a session and its connection", "KiB", {size}, kSessionKiB),
      FigureOf("a log line, switched off", "ns", {LogSwitchedOff()}, kLogNanoseconds),
  };
}

}  // namespace bench
