#include "bench/event_figures.h"

#include <unistd.h>

#include <cstdint>
#include <string>

#include "bench/clock.h"
#include "bench/event_clients.h"
#include "bench/server_roles.h"
#include "bench/statistics.h"

namespace bench {

namespace {

// A number of clients and what it has to come to.
struct Crowd {
  unsigned clients;
  const char* name;
  Goal fanOut;
  Goal rate;
};

constexpr Crowd kCrowds[] = {
    {1, "1 client", AtMost(3, 1.2), AtLeast(0.7, 0.85)},
    {100, "100 clients", AtMost(1.7, 1.0), AtLeast(0.78, 1.0)},
    {1000, "1,000 clients", AtMost(1.45, 1.0), AtLeast(0.8, 1.0)},
};
constexpr int kWarmUpEvents = 3;
constexpr int kEventsBeforeSize = 100;
constexpr Goal kSubscriptionKiB = AtMost(5, 2);
constexpr unsigned kSubscriptionsWithoutWait = 100;
constexpr Goal kQueuedEventBytes = AtMost(24);  // its three words, and room for as many again

struct EventPhase {
  double median = 0;  // of an event, microseconds
  double rate = 0;    // events a second
};

EventPhase Measure(const Measurement& measurement, EventClients clients) {
  for (int i = 0; i < kWarmUpEvents; ++i) clients.ReadOne();
  std::vector<std::int64_t> times;
  for (const std::int64_t until = Now() + measurement.Phase(); Now() < until;) times.push_back(clients.ReadOne());
  return {Microseconds(Median(times)), clients.ReadFor(measurement.Phase())};
}

struct EventRounds {
  std::vector<double> time, rawTime, timeRatio, rate, rawRate, rateRatio;

  void Add(const EventPhase& ours, const EventPhase& raw) {
    time.push_back(ours.median);
    rawTime.push_back(raw.median);
    timeRatio.push_back(ours.median / raw.median);
    rate.push_back(ours.rate);
    rawRate.push_back(raw.rate);
    rateRatio.push_back(ours.rate / raw.rate);
  }

  void AppendFigures(const Crowd& crowd, std::vector<Figure>& figures) const {
    const std::string name = crowd.name;
    figures.push_back(FigureOf("event to " + name, "raw", timeRatio, crowd.fanOut));
    figures.push_back(FigureOf("event to " + name, "us", time));
    figures.push_back(FigureOf("raw event to " + name, "us", rawTime));
    figures.push_back(FigureOf("events, " + name, "of raw", rateRatio, crowd.rate));
    figures.push_back(FigureOf("events, " + name, "a second", rate));
    figures.push_back(FigureOf("raw events, " + name, "a second", rawRate));
  }
};

}  // namespace

std::vector<Figure> MeasureEvents(const Measurement& measurement, unsigned mostClients, const ServerProcess& service,
                                  const ServerProcess& raw) {
  std::vector<Figure> figures;
  for (const Crowd& crowd : kCrowds) {
    if (crowd.clients > mostClients) continue;
    EventRounds rounds;
    for (unsigned i = 0; i < measurement.rounds; ++i) {
      const EventPhase ours = Measure(measurement, EventClients::OfProduct(service, crowd.clients));
      rounds.Add(ours, Measure(measurement, EventClients::OfRaw(raw, crowd.clients)));
    }
    rounds.AppendFigures(crowd, figures);
  }
  return figures;
}

Figure MeasureSubscriptionSize(unsigned subscriptions, const ServerProcess& service) {
  const std::size_t before = service.ResidentBytes();
  EventClients clients = EventClients::OfProduct(service, subscriptions);
  for (int i = 0; i < kEventsBeforeSize; ++i) clients.ReadOne();
  const double added = static_cast<double>(service.ResidentBytes()) - static_cast<double>(before);
  return FigureOf("resident size of a subscription and its connection", "KiB", {added / subscriptions / 1024},
                  kSubscriptionKiB);
}

Figure MeasureQueuedEvent(const ServerProcess& service) {
  std::vector<EventClient> clients;
  for (unsigned i = 0; i < kSubscriptionsWithoutWait; ++i) clients.push_back(Subscribe());
  const std::size_t before = service.ResidentBytes();
  service.Order(kQueue);
  service.AwaitAnswer();
  const double added = static_cast<double>(service.ResidentBytes()) - static_cast<double>(before);
  for (const EventClient& client : clients) close(client.socket);
  return FigureOf("resident size of an event in a queue", "bytes", {added / kSubscriptionsWithoutWait / kQueuedEvents},
                  kQueuedEventBytes);
}

}  // namespace bench
