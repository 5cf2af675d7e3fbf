#include "machine/keeper.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>

#include "machine/descendants.h"
#include "machine/frame_channel.h"
#include "machine/keeper_child.h"

extern char** environ;

namespace machine {

using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// Between the request to end (SIGTERM) and the end (SIGKILL), and between two looks for what is left.
constexpr milliseconds kGrace{1500};
constexpr milliseconds kKillInterval{50};

// "NAME=value" lines as they are given, or those of this process with the members of `given` over them.
std::vector<std::string> Environment(const json& given) {
  if (given.is_array()) return given.get<std::vector<std::string>>();
  std::vector<std::string> lines;
  for (char** line = environ; *line != nullptr; ++line) {
    const std::string text = *line;
    if (!given.contains(text.substr(0, text.find('=')))) lines.push_back(text);
  }
  for (const auto& [name, value] : given.items()) lines.push_back(name + "=" + value.get<std::string>());
  return lines;
}

ChildProgram ReadProgram(const json& request) {
  ChildProgram program;
  program.path = request.at("program").get<std::string>();
  program.arguments = request.at("arguments").get<std::vector<std::string>>();
  program.environment = Environment(request.at("environment"));
  program.directory = request.at("directory").get<std::string>();
  program.belowNormal = request.at("belowNormal").get<bool>();
  program.output = request.at("output").get<std::string>();
  program.errorOutput = request.at("errorOutput").get<std::string>();
  return program;
}

class Keeper {
 public:
  explicit Keeper(FrameChannel channel) : channel_(std::move(channel)) {}

  bool StartChild();
  // Until nothing is left below.
  void Serve();

 private:
  bool AwaitMessage(json* message);
  void HandleChannel();
  void HandleMessages();
  bool ReapAll();
  void ReportEnd(int status);
  void BeginEnding();
  void KillWhenDue();
  int PollTimeout() const;

  FrameChannel channel_;
  UniqueDescriptor childSignals_;
  pid_t child_ = -1;
  bool connected_ = true;
  bool ending_ = false;
  steady_clock::time_point nextKill_;
};

bool Keeper::AwaitMessage(json* message) {
  for (;;) {
    if (auto next = channel_.Take()) {
      *message = std::move(*next);
      return true;
    }
    if (!channel_.Fill()) return false;
  }
}

bool Keeper::StartChild() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGCHLD);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  childSignals_ = UniqueDescriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  json request;
  if (!childSignals_.valid() || !AwaitMessage(&request)) return false;
  KeeperChild child;
  if (!child.Fork(ReadProgram(request))) {
    channel_.Send(json{{"failed", errno}});
    return false;
  }
  child_ = child.pid();
  json word;
  if (!channel_.Send(json{{"child", child_}}) || !AwaitMessage(&word) || !word.contains("go")) {
    child.Abandon();
    return false;
  }
  const int failure = child.Go();
  channel_.Send(failure == 0 ? json{{"running", true}} : json{{"failed", failure}});
  return failure == 0;
}

void Keeper::Serve() {
  HandleMessages();
  while (ReapAll()) {
    pollfd watched[2] = {{childSignals_.get(), POLLIN, 0}, {connected_ ? channel_.descriptor() : -1, POLLIN, 0}};
    poll(watched, 2, PollTimeout());
    signalfd_siginfo info;
    while (read(childSignals_.get(), &info, sizeof(info)) > 0) continue;
    if (watched[1].revents != 0) HandleChannel();
    if (ending_) KillWhenDue();
  }
}

void Keeper::HandleChannel() {
  connected_ = channel_.Fill();
  HandleMessages();
  if (!connected_) BeginEnding();
}

void Keeper::HandleMessages() {
  while (const auto message = channel_.Take()) {
    if (message->contains("end")) BeginEnding();
  }
}

bool Keeper::ReapAll() {
  int status = 0;
  for (;;) {
    const pid_t ended = waitpid(-1, &status, WNOHANG);
    if (ended < 0) return false;
    if (ended == 0) return true;
    if (ended == child_) ReportEnd(status);
  }
}

void Keeper::ReportEnd(int status) {
  if (!connected_) return;
  if (WIFEXITED(status)) channel_.Send(json{{"exited", WEXITSTATUS(status)}});
  if (WIFSIGNALED(status)) channel_.Send(json{{"signalled", WTERMSIG(status)}});
}

void Keeper::BeginEnding() {
  if (ending_) return;
  ending_ = true;
  nextKill_ = steady_clock::now() + kGrace;
  for (const pid_t pid : Descendants()) kill(pid, SIGTERM);
}

void Keeper::KillWhenDue() {
  if (steady_clock::now() < nextKill_) return;
  for (const pid_t pid : Descendants()) kill(pid, SIGKILL);
  nextKill_ = steady_clock::now() + kKillInterval;
}

int Keeper::PollTimeout() const {
  if (!ending_) return -1;
  const auto left = std::chrono::duration_cast<milliseconds>(nextKill_ - steady_clock::now()).count();
  return static_cast<int>(std::max<long>(left + 1, 0));
}

}  // namespace

int RunKeeper() {
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  signal(SIGPIPE, SIG_IGN);
  fcntl(kKeeperSocket, F_SETFD, FD_CLOEXEC);
  close_range(kKeeperSocket + 1, ~0U, 0);
  Keeper keeper{FrameChannel(UniqueDescriptor(kKeeperSocket))};
  const bool started = keeper.StartChild();
  keeper.Serve();
  return started ? 0 : 1;
}

}  // namespace machine
