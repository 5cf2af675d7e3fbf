// A client process of the load tests.
//
//   load-client churn LEDGER SUBSCRIPTIONS THREADS   creates and destroys subscriptions that check their events
//   load-client hold COUNT                           holds waits until they end, each on a connection of its own
//   load-client work NUMBER                          uses everything until SIGTERM; outlives the service
//   load-client crash                                holds a little of everything, then is killed
//
// Says what is wrong on the error stream and ends with exit code 1 then. Goes with the process that started it.
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "client/device_session.h"
#include "tests/load/checked_subscription.h"
#include "tests/load/registrant.h"

namespace load {
namespace {

using std::chrono::milliseconds;

std::atomic<bool> g_faulty = false;
std::atomic<bool> g_over = false;

bool Holds(const std::string& fault) {
  if (fault.empty()) return true;
  std::fprintf(stderr, "load-client %d: %s\n", static_cast<int>(getpid()), fault.c_str());
  g_faulty = true;
  return false;
}

bool Succeeds(const client::Status& status) {
  return Holds(status.Ok() ? "" : Describe(status));
}

// Several subscriptions live at once; each is destroyed to make room for the fourth after it.
void Churn(EventLedger& ledger, unsigned count, unsigned seed) {
  client::Connection connection;
  if (!Succeeds(connection.Open())) return;
  std::array<std::unique_ptr<CheckedSubscription>, 4> places;
  for (unsigned i = 0; i < count + places.size() && !g_faulty; ++i) {
    auto& place = places[i % places.size()];
    if (place != nullptr && !(Holds(place->Await((i + seed) % 4)) && Holds(place->Finish()))) return;
    place.reset();
    if (i >= count) continue;
    place = std::make_unique<CheckedSubscription>(connection, ledger);
    if (!Succeeds(place->Start())) return;
  }
}

int RunChurn(const char* ledgerPath, unsigned count, unsigned threadCount) {
  EventLedger ledger(ledgerPath);
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < threadCount; ++i)
    threads.emplace_back([&ledger, i, share = count / threadCount] { Churn(ledger, share, i); });
  for (std::thread& thread : threads) thread.join();
  return g_faulty;
}

struct Held {
  client::Connection connection;
  client::EventSubscription subscription{connection};
  std::string End() {
    client::Event event;
    while (subscription.Next(std::chrono::hours(1), &event) != client::EventSubscription::Outcome::Ended) continue;
    return Describe(subscription.End());
  }
};

// Prints how often the waits ended in which way.
int RunHold(unsigned count) {
  std::vector<std::unique_ptr<Held>> all;
  for (unsigned i = 0; i < count; ++i) {
    all.push_back(std::make_unique<Held>());
    if (!Succeeds(all.back()->connection.Open()) || !Succeeds(all.back()->subscription.Start())) return 1;
  }
  std::puts("holding");
  std::fflush(stdout);
  std::map<std::string, unsigned> ends;
  for (const auto& held : all) ++ends[held->End()];
  for (const auto& [end, times] : ends) std::printf("%u %s\n", times, end.c_str());
  return 0;
}

// What a client is answered whose service stops, is killed, or sleeps.
bool IsClear(const client::Status& status) {
  constexpr HRESULT kCheckNotFinished = static_cast<HRESULT>(0x800705B4);
  return status.Ok() || status.ServiceNotReachable() || status.ServiceStopping() || status.result == kCheckNotFinished;
}

// A visit of a client that subscribes, opens a session, calls, listens for a while and leaves.
client::Status Visit(std::mt19937& random) {
  client::Connection connection;
  client::Status status = connection.Open();
  if (!status.Ok()) return status;
  client::EventSubscription subscription(connection);
  client::DeviceSession session(connection);
  DWORD word = 0;
  if (status = subscription.Start(); !status.Ok()) return status;
  if (status = session.Open(); !status.Ok()) return status;
  if (status = session.Call(0x1000, 0, 0, 0, &word); !status.Ok()) return status;
  if (status = session.WakeupStatus(client::WakeupKind::OneTouchButton, &word); !status.Ok()) return status;
  client::Event event;
  if (subscription.Next(milliseconds(random() % 60), &event) == client::EventSubscription::Outcome::Ended)
    return subscription.End();
  return session.Close();
}

int RunWork(unsigned number) {
  signal(SIGTERM, [](int) { g_over = true; });
  std::thread registering([number] {
    for (Registrant registrant(number); !g_over && Holds(registrant.Round());)
      std::this_thread::sleep_for(milliseconds(10));
  });
  std::mt19937 random(number);
  while (!g_over && !g_faulty) {
    const client::Status status = Visit(random);
    Holds(IsClear(status) ? "" : Describe(status));
    std::this_thread::sleep_for(milliseconds(20));
  }
  registering.join();
  return g_faulty;
}

int RunCrash() {
  client::Connection connection;
  connection.Open();
  client::EventSubscription subscriptions[] = {client::EventSubscription(connection),
                                               client::EventSubscription(connection)};
  client::DeviceSession session(connection);
  for (client::EventSubscription& subscription : subscriptions) subscription.Start();
  session.Open();
  std::this_thread::sleep_for(milliseconds(std::random_device()() % 40));
  return kill(getpid(), SIGKILL);
}

int Run(const std::vector<std::string>& arguments) {
  const auto number = [&arguments](std::size_t i) { return static_cast<unsigned>(std::stoul(arguments.at(i))); };
  const std::string& what = arguments.at(0);
  if (what == "churn") return RunChurn(arguments.at(1).c_str(), number(2), number(3));
  if (what == "hold") return RunHold(number(1));
  if (what == "work") return RunWork(number(1));
  return what == "crash" ? RunCrash() : 2;
}

}  // namespace
}  // namespace load

int main(int argc, char** argv) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  return load::Run(std::vector<std::string>(argv + 1, argv + argc));
}
