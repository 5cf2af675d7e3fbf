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

namespace bench {

namespace {

constexpr double kMostCallRatio = 1.7;
constexpr double kMostSpread = 10;
constexpr double kMostOpenMicroseconds = 200;
constexpr double kMostSessionKiB = 6;
constexpr unsigned kManyClients = 16;
constexpr unsigned kCrowd = 64;

// What one phase gave.
struct Phase {
  double median = 0;  // of a round trip, microseconds
  double spread = 0;  // the 99th percentile, in medians
  double rate = 0;    // calls a second
};

Phase Call(const Measurement& measurement, const std::vector<CallingClient>& clients) {
  CallTimes times;
  if (!CallFor(measurement.Phase(), clients, &times)) GiveUp("call");
  CloseAll(clients);
  const auto median = static_cast<double>(Median(times.roundTrips));
  return {median / 1000, static_cast<double>(Quantile(times.roundTrips, 0.99)) / median, times.callsPerSecond};
}

// The median round trip through the client library, in microseconds.
double CallThroughLibrary(const Measurement& measurement) {
  client::Connection connection;
  client::DeviceSession session(connection);
  if (!connection.Open().Ok() || !session.Open().Ok()) GiveUp("open a session through the client library");
  std::vector<std::int64_t> times;
  const std::int64_t until = Now() + measurement.Phase();
  while (Now() < until) {
    DWORD result = 0;
    const std::int64_t begin = Now();
    if (!session.Call(0, 0, 0, 0, &result).Ok()) GiveUp("call through the client library");
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
  if (function == nullptr) GiveUp("load the device stand-in");
  constexpr int kCalls = 1'000'000;
  std::uint32_t result = 0;
  const std::int64_t begin = Now();
  for (std::uint32_t i = 0; i < kCalls; ++i) function(i, 0, 0, 0, &result);
  const std::int64_t end = Now();
  dlclose(library);
  return Microseconds(end - begin) / kCalls;
}

// What one session on a connection of its own adds to the resident size, in KiB.
double SizeOfSession(unsigned sessions, ServerProcess& service) {
  constexpr unsigned kWarmUp = 16;
  CloseAll(ConnectSessions(ProductSessions(), kWarmUp));
  if (!service.AwaitIdle()) GiveUp("leave the server idle");
  const std::size_t before = service.ResidentBytes();
  const auto clients = ConnectSessions(ProductSessions(), sessions);
  const std::size_t after = service.ResidentBytes();
  CloseAll(clients);
  if (!service.AwaitIdle()) GiveUp("leave the server idle");
  return (static_cast<double>(after) - static_cast<double>(before)) / sessions / 1024;
}

// The figures of one round, by what is measured.
struct Rounds {
  std::vector<double> call, rawCall, callRatio, engineCall, engineRatio, rate, rawRate, rateRatio, spread, rawSpread,
      open, library, libraryRatio;
};

void Round(const Measurement& measurement, Rounds& rounds) {
  const Phase ours = Call(measurement, ConnectSessions(ProductSessions(), 1));
  const Phase raw = Call(measurement, ConnectRaw(1));
  const Phase engine = Call(measurement, ConnectSessions(EngineSessions(), 1));
  const double library = CallThroughLibrary(measurement);
  rounds.call.push_back(ours.median);
  rounds.rawCall.push_back(raw.median);
  rounds.callRatio.push_back(ours.median / raw.median);
  rounds.engineCall.push_back(engine.median);
  rounds.engineRatio.push_back(engine.median / raw.median);
  rounds.library.push_back(library);
  rounds.libraryRatio.push_back(library / raw.median);

  const Phase many = Call(measurement, ConnectSessions(ProductSessions(), kManyClients));
  const Phase rawMany = Call(measurement, ConnectRaw(kManyClients));
  rounds.rate.push_back(many.rate);
  rounds.rawRate.push_back(rawMany.rate);
  rounds.rateRatio.push_back(many.rate / rawMany.rate);

  rounds.spread.push_back(Call(measurement, ConnectSessions(ProductSessions(), kCrowd)).spread);
  rounds.rawSpread.push_back(Call(measurement, ConnectRaw(kCrowd)).spread);
  rounds.open.push_back(Microseconds(Median(OpenSessionsFor(measurement.Phase(), ProductSessions()))));
}

}  // namespace

std::vector<Figure> MeasureCalls(const Measurement& measurement, unsigned sessions, ServerProcess& service) {
  const double size = SizeOfSession(sessions, service);
  Rounds rounds;
  for (unsigned i = 0; i < measurement.rounds; ++i) Round(measurement, rounds);
  return {
      FigureOf("call, one client", "raw calls", rounds.callRatio, kMostCallRatio),
      FigureOf("call, one client", "us", rounds.call),
      FigureOf("raw call, one client", "us", rounds.rawCall),
      FigureOf("call of an empty routine, one client", "raw calls", rounds.engineRatio),
      FigureOf("call of an empty routine, one client", "us", rounds.engineCall),
      FigureOf("call through the client library", "raw calls", rounds.libraryRatio),
      FigureOf("call through the client library", "us", rounds.library),
      FigureOf("the device stand-in itself", "us", {CallDeviceAlone()}),
      FigureOf("calls, 16 clients", "of raw", rounds.rateRatio),
      FigureOf("calls, 16 clients", "a second", rounds.rate),
      FigureOf("raw calls, 16 clients", "a second", rounds.rawRate),
      FigureOf("64 clients, 99th percentile of a call", "medians", rounds.spread, kMostSpread),
      FigureOf("64 raw clients, 99th percentile of a call", "medians", rounds.rawSpread),
      FigureOf("opening a session, library loaded", "us", rounds.open, kMostOpenMicroseconds),
      FigureOf("resident size of a session and its connection", "KiB", {size}, kMostSessionKiB),
  };
}

}  // namespace bench
