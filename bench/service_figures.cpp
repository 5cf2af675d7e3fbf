#include "bench/service_figures.h"

#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "bench/clock.h"
#include "bench/device_control.h"
#include "bench/event_clients.h"
#include "bench/server_roles.h"
#include "bench/statistics.h"
#include "bench/subscriber.h"

namespace bench {

namespace {

constexpr std::chrono::milliseconds kBetweenNotices{1};
constexpr std::chrono::seconds kSettling{6};  // longer than call threads linger
constexpr int kMostSettlings = 5;
constexpr Goal kBeyondFanOutMicroseconds = AtMost(100);
constexpr Goal kNothing = AtMost(0);

// A client that waits for events.
class Waiting {
 public:
  Waiting() : client_(Subscribe()) { Wait(); }
  ~Waiting() { close(client_.socket); }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

  void Wait() {
    if (!Send(client_.socket, client_.wait)) CannotGoOn("wait for an event");
  }

  // The next event's identifier.
  std::uint32_t Read() const {
    std::byte event[256];
    std::uint32_t id = 0;
    if (recv(client_.socket, event, sizeof(event), 0) != kEventSize) CannotGoOn("read an event");
    std::memcpy(&id, event + kEventIdOffset, sizeof(id));
    return id;
  }

 private:
  EventClient client_;
};

std::vector<std::int64_t> NotifyFor(std::int64_t nanoseconds) {
  EventControl& device = DeviceControl();
  Waiting client;
  std::vector<std::int64_t> times;
  for (const std::int64_t until = Now() + nanoseconds; Now() < until;) {
    std::this_thread::sleep_for(kBetweenNotices);
    device.Notify();
    // The service's start has an event of its own, which may come before the device's.
    while (client.Read() != kNoticeEvent) client.Wait();
    times.push_back(Now() - device.begun);
    client.Wait();
  }
  return times;
}

struct Activity {
  std::uint64_t nanoseconds = 0;  // of processor time
  std::uint64_t switches = 0;     // how often a thread got a processor

  bool operator==(const Activity&) const = default;
};

// Of all threads that live.
Activity ActivityOf(pid_t process) {
  Activity all;
  const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
  for (const auto& task : std::filesystem::directory_iterator(tasks)) {
    std::ifstream file(task.path() / "schedstat");
    std::uint64_t nanoseconds = 0;
    std::uint64_t waited = 0;
    std::uint64_t switches = 0;
    if (!(file >> nanoseconds >> waited >> switches)) CannotGoOn("read what the service does");
    all.nanoseconds += nanoseconds;
    all.switches += switches;
  }
  return all;
}

// Until the threads have gone that work has left behind, or for so long that something else keeps the service busy.
void AwaitRest(pid_t process) {
  Activity before;
  for (int i = 0; i < kMostSettlings; ++i) {
    const Activity now = ActivityOf(process);
    if (now == before) return;
    before = now;
    std::this_thread::sleep_for(kSettling);
  }
}

}  // namespace

std::vector<double> MeasureFanOutAlone(const Measurement& measurement) {
  const ServerProcess server(kRpcRole);
  EventClients client = EventClients::OfProduct(server, 1);
  std::vector<double> rounds;
  for (unsigned i = 0; i < measurement.rounds; ++i) {
    std::vector<std::int64_t> times;
    for (const std::int64_t until = Now() + measurement.Phase(); Now() < until;) times.push_back(client.ReadOne());
    rounds.push_back(Microseconds(Median(times)));
  }
  return rounds;
}

std::vector<Figure> MeasureNotification(const Measurement& measurement, const std::vector<double>& fanOutAlone) {
  std::vector<double> whole;
  std::vector<double> beyond;
  for (const double alone : fanOutAlone) {
    whole.push_back(Microseconds(Median(NotifyFor(measurement.Phase()))));
    beyond.push_back(whole.back() - alone);
  }
  return {FigureOf("device's notification to a waiting client", "us", whole),
          FigureOf("of this, beyond the fan-out alone", "us", beyond, kBeyondFanOutMicroseconds)};
}

std::vector<Figure> MeasureIdle(pid_t service, unsigned waits, unsigned seconds) {
  const std::vector<Waiting> clients(waits);
  AwaitRest(service);
  const Activity before = ActivityOf(service);
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const Activity after = ActivityOf(service);
  const std::string name = "idle for " + std::to_string(seconds) + " s, " + std::to_string(waits) + " waits pending: ";
  return {FigureOf(name + "processor time", "us",
                   {Microseconds(static_cast<std::int64_t>(after.nanoseconds - before.nanoseconds))}, kNothing),
          FigureOf(name + "threads woken", "times", {static_cast<double>(after.switches - before.switches)}, kNothing)};
}

}  // namespace bench
