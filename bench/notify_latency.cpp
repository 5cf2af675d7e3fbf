// How long an event takes from NotifyEvent to its clients: the product's fan-out and the RPC server runtime in this
// process, the clients in another one. For each number of clients prints, in microseconds, when NotifyEvent has
// returned and when the first, the middle and the last client hold the event.
//
//   notify-latency [--rounds N] [clients...]          by default 1, 100 and 1000 clients, 500 rounds
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bench/clock.h"
#include "bench/latency_clients.h"
#include "bench/product_endpoint.h"
#include "bench/statistics.h"
#include "bench/temporary_machine.h"
#include "device/event_notify.h"
#include "platform/host/base/open_files.h"
#include "platform/host/rpc/server_status.h"

using Quorvex::PC::Hkd04a7::NotifyEvent;
using Quorvex::PC::Hkd04a7::Service::CServiceContext;

extern char** environ;

namespace {

constexpr const char* kClientSwitch = "--clients-of";
constexpr std::uint32_t kEvent = 1;
constexpr std::chrono::milliseconds kRest{2};  // between rounds, so that each begins on an idle server

struct Figures {
  std::vector<double> returned, first, middle, last;
};

// A process of this program with `count` clients; its round times come out of `*times`.
pid_t StartClients(unsigned count, int* times) {
  int ends[2];
  if (pipe(ends) != 0) return -1;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  std::string path = bench::EndpointPath();
  std::string number = std::to_string(count);
  std::string program = "/proc/self/exe";
  std::string option = kClientSwitch;
  char* const arguments[] = {program.data(), option.data(), path.data(), number.data(), nullptr};
  pid_t child = -1;
  if (posix_spawn(&child, program.c_str(), &actions, nullptr, arguments, environ) != 0) child = -1;
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  *times = ends[0];
  return child;
}

bool EveryClientWaits(unsigned count) {
  for (int i = 0; i < 20000; ++i) {
    if (host::rpc::ServerStatus().pendingCalls == count) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

bool OneRound(CServiceContext& context, unsigned count, int times, Figures* figures) {
  if (!EveryClientWaits(count)) return false;
  std::this_thread::sleep_for(kRest);
  const std::int64_t begin = bench::Now();
  NotifyEvent(context, kEvent, 0, 0);
  const std::int64_t returned = bench::Now();
  RoundTimes round;
  if (read(times, &round, sizeof(round)) != sizeof(round)) return false;
  const auto microseconds = [&](std::int64_t time) { return bench::Microseconds(time - begin); };
  figures->returned.push_back(microseconds(returned));
  figures->first.push_back(microseconds(round.first));
  figures->middle.push_back(microseconds(round.middle));
  figures->last.push_back(microseconds(round.last));
  return true;
}

void Print(unsigned count, const Figures& figures) {
  std::printf("%7u", count);
  for (const auto* values : {&figures.returned, &figures.first, &figures.middle, &figures.last}) {
    std::printf("  %9.0f %9.0f", bench::Quantile(*values, 0.5), bench::Quantile(*values, 0.99));
  }
  std::printf("\n");
  std::fflush(stdout);
}

bool Measure(CServiceContext& context, unsigned count, unsigned rounds) {
  int times = -1;
  const pid_t child = StartClients(count, &times);
  if (child < 0) return false;
  Figures figures;
  bool good = true;
  for (unsigned i = 0; good && i < rounds; ++i) good = OneRound(context, count, times, &figures);
  kill(child, SIGTERM);
  waitpid(child, nullptr, 0);
  close(times);
  if (good) Print(count, figures);
  if (!good) std::fprintf(stderr, "%u clients: not all of them got their events\n", count);
  // The next figure is not to be disturbed by this one's rundown.
  while (host::rpc::ConnectionCount() > 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return good;
}

int Run(const std::vector<unsigned>& counts, unsigned rounds) {
  if (!bench::OpenProductEndpoint()) return 1;
  CServiceContext context;
  std::printf("microseconds, median and 99th percentile of %u rounds\n", rounds);
  std::printf("clients   NotifyEvent returned      first client          middle client         last client\n");
  bool good = true;
  for (const unsigned count : counts) good = Measure(context, count, rounds) && good;
  return good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  host::RaiseOpenFileLimit();
  if (argc == 4 && std::strcmp(argv[1], kClientSwitch) == 0) {
    return RunLatencyClients(argv[2], static_cast<unsigned>(std::atoi(argv[3])), STDOUT_FILENO);
  }
  unsigned rounds = 500;
  std::vector<unsigned> counts;
  for (int i = 1; i < argc; ++i) {
    const bool isRounds = std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc;
    const int number = std::atoi(isRounds ? argv[++i] : argv[i]);
    if (number <= 0) {
      std::fprintf(stderr, "usage: notify-latency [--rounds N] [clients...]\n");
      return 2;
    }
    if (isRounds) rounds = static_cast<unsigned>(number);
    if (!isRounds) counts.push_back(static_cast<unsigned>(number));
  }
  if (counts.empty()) counts = {1, 100, 1000};

  const bench::TemporaryMachine machine;
  return Run(counts, rounds);
}
