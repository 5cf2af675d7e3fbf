// hkd04a7-machine: the daemon of a simulated machine, and (--keeper) the keeper of one of its processes.
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <thread>

#include "machine/boot.h"
#include "machine/keeper.h"
#include "machine/machine.h"

namespace {

constexpr int kUsage = 2;  // exit code: the command line was not understood

// Tells the waiting parent process how the start went: an empty sentence means that the machine is up.
class StartReport {
 public:
  explicit StartReport(int descriptor) : descriptor_(descriptor) {}

  void Send(const std::string& failure) {
    if (!failure.empty()) std::fprintf(stderr, "hkd04a7-machine: %s\n", failure.c_str());
    if (descriptor_ < 0) return;
    if (failure.empty()) [[maybe_unused]]
      const ssize_t sent = write(descriptor_, "+", 1);
    close(descriptor_);
  }

 private:
  int descriptor_;
};

// The parent's part: answers the exit code of the start.
int AwaitStart(int descriptor) {
  char sign = 0;
  return read(descriptor, &sign, 1) == 1 ? 0 : 1;
}

// Leaves the terminal; its output goes nowhere from then on.
void Detach() {
  setsid();
  const int null = open("/dev/null", O_RDWR);
  for (int stream = 0; stream <= 2; ++stream) dup2(null, stream);
  if (null > 2) close(null);
}

// SIGTERM and SIGINT take the machine down as `down` does; one thread waits for them.
void TakeDownOnSignal(machine::Machine& machine, const sigset_t& signals) {
  std::thread([&machine, signals] {
    int received = 0;
    sigwait(&signals, &received);
    machine.RequestDown();
  }).detach();
}

int Serve(StartReport report, bool detach) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signal(SIGHUP, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);

  machine::Options options;
  options.directory = host::CurrentMachineDirectory();
  options.adopts = prctl(PR_SET_CHILD_SUBREAPER, 1) == 0;
  static machine::Machine machine(options);
  std::string error;
  if (!machine.Start(&error)) {
    report.Send(error);
    return 1;
  }
  TakeDownOnSignal(machine, signals);
  if (detach) Detach();
  report.Send("");
  machine.WaitUntilDown();
  machine::RemoveSockets(options.directory);
  machine.Stop();
  return 0;
}

int ServeInBackground() {
  int report[2];
  if (pipe2(report, O_CLOEXEC) != 0) return 1;
  const pid_t child = fork();
  if (child < 0) return 1;
  if (child == 0) {
    close(report[0]);
    return Serve(StartReport(report[1]), true);
  }
  close(report[1]);
  return AwaitStart(report[0]);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("The simulated machine of the HKD04A7 driver utility service");
  std::string directory;
  bool foreground = false;
  bool keeper = false;
  app.add_option("--machine", directory, "the machine's directory")->check([](const std::string& name) {
    return name.empty() ? "names no directory" : std::string();
  });
  app.add_flag("--foreground", foreground, "stay attached to the terminal");
  app.add_flag("--keeper", keeper, "keep one process of a machine; used by the daemon itself")->group("");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kUsage;
  }
  if (keeper) return machine::RunKeeper();
  if (!directory.empty()) host::UseMachineDirectory(directory);
  return foreground ? Serve(StartReport(-1), false) : ServeInBackground();
}
