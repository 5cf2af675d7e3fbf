#include "machine/kept_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>

#include "machine/json_file.h"
#include "machine/keeper.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/process_stat.h"

extern char** environ;

namespace machine {

using nlohmann::json;

namespace {

DWORD CodeOf(int systemError) {
  switch (systemError) {
    case ENOENT:
    case ENOTDIR:
      return ERROR_FILE_NOT_FOUND;
    case EACCES:
    case EPERM:
      return ERROR_ACCESS_DENIED;
    case ENOEXEC:
      return ERROR_BAD_EXE_FORMAT;
    case ENAMETOOLONG:
    case E2BIG:
      return ERROR_FILENAME_EXCED_RANGE;
    default:
      return ERROR_NOT_ENOUGH_MEMORY;
  }
}

// Attributes and file actions of a keeper: a session of its own, no inherited signal state, the socket as descriptor 3.
class KeeperSpawn {
 public:
  explicit KeeperSpawn(int socket) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&actions_, 0, 1);
    posix_spawn_file_actions_adddup2(&actions_, 0, 2);
    posix_spawn_file_actions_adddup2(&actions_, socket, kKeeperSocket);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~KeeperSpawn() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }
  KeeperSpawn(const KeeperSpawn&) = delete;
  KeeperSpawn& operator=(const KeeperSpawn&) = delete;

  int Run(const std::string& program, pid_t* pid) {
    char name[] = "hkd04a7-machine";
    char option[] = "--keeper";
    char* const arguments[] = {name, option, nullptr};
    return posix_spawn(pid, program.c_str(), &actions_, &attributes_, arguments, environ);
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

}  // namespace

KeptProcess::KeptProcess(ProcessTable& table, std::uint64_t number, ProcessRequest request,
                         ProcessTable::Observer observer)
    : table_(table), number_(number), request_(std::move(request)), observer_(std::move(observer)) {}

KeptProcess::~KeptProcess() {
  if (channel_) table_.loop_.Unwatch(channel_->descriptor());
}

bool KeptProcess::Begin() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
  UniqueDescriptor ours(ends[0]);
  const UniqueDescriptor theirs(ends[1]);
  if (!SpawnKeeper(theirs.get())) return false;
  channel_.emplace(std::move(ours));
  Publish(keeper_);
  channel_->Send(KeeperRequest());
  table_.loop_.Watch(channel_->descriptor(), EPOLLIN, [this](std::uint32_t) { HandleKeeper(); });
  return true;
}

bool KeptProcess::SpawnKeeper(int socket) {
  errno = KeeperSpawn(socket).Run(table_.settings_.keeperProgram, &keeper_);
  return errno == 0;
}

json KeptProcess::KeeperRequest() const {
  const std::string log = table_.settings_.runtimeFolder + "/output.log";
  std::vector<std::string> arguments = {request_.calledAs.empty() ? request_.program : request_.calledAs};
  arguments.insert(arguments.end(), request_.arguments.begin(), request_.arguments.end());
  return json{{"program", request_.program},
              {"arguments", arguments},
              {"environment", Environment()},
              {"directory", request_.directory},
              {"belowNormal", request_.belowNormal},
              {"output", request_.output.empty() ? log : request_.output},
              {"errorOutput", request_.errorOutput.empty() ? log : request_.errorOutput}};
}

// All of it as a list, or what is different from the daemon's as an object.
json KeptProcess::Environment() const {
  if (request_.environment) return *request_.environment;
  json changes = json::object();
  if (!table_.settings_.machineRoot.empty()) changes["HKD04A7_MACHINE"] = table_.settings_.machineRoot;
  return changes;
}

void KeptProcess::Terminate() {
  if (std::exchange(terminating_, true)) return;
  channel_->Send(json{{"end", true}});
}

json KeptProcess::Row() const {
  return json{{"number", number_},
              {"pid", pid_},
              {"startTime", host::ProcessStartTime(pid_)},
              {"program", request_.program},
              {"arguments", request_.arguments},
              {"commandLine", request_.commandLine},
              {"keeper", keeper_},
              {"token", ToJson(request_.token)},
              {"state", over_ ? "ended" : "running"}};
}

void KeptProcess::HandleKeeper() {
  const auto self = shared_from_this();
  const bool connected = channel_->Fill();
  while (const auto message = channel_->Take()) HandleMessage(*message);
  if (!connected) HandleKeeperGone();
}

void KeptProcess::HandleMessage(const json& message) {
  if (message.contains("child")) EnterChild(message["child"].get<pid_t>());
  if (message.contains("failed")) {
    const int failure = message["failed"].get<int>();
    FailStart(CodeOf(failure), request_.program + ": " + std::strerror(failure));
  }
  if (message.contains("running")) std::exchange(observer_.started, nullptr)(ERROR_SUCCESS, "");
  if (message.contains("exited")) End(ProcessEnd{false, message["exited"].get<int>()});
  if (message.contains("signalled")) End(ProcessEnd{true, message["signalled"].get<int>()});
}

void KeptProcess::EnterChild(pid_t child) {
  pid_ = child;
  Publish(child);
  table_.history_.Add(number_, {request_, child, host::ProcessStartTime(child), std::nullopt, {}});
  observer_.entered(child);
  channel_->Send(json{{"go", true}});
}

void KeptProcess::FailStart(DWORD error, const std::string& message) {
  over_ = true;
  if (pid_ > 0) Withdraw(pid_);
  table_.history_.Remove(number_);
  if (const auto started = std::exchange(observer_.started, nullptr)) started(error, message);
}

void KeptProcess::End(const ProcessEnd& end) {
  if (std::exchange(over_, true)) return;
  Withdraw(pid_);
  table_.history_.End(number_, end);
  observer_.ended(end);
}

void KeptProcess::HandleKeeperGone() {
  // A keeper that was killed takes its child with it (the child asked for that), but not what that has started, and
  // tells nothing.
  if (observer_.started) FailStart(ERROR_NOT_ENOUGH_MEMORY, "the keeper of " + request_.program + " ended");
  if (!over_) End(ProcessEnd{true, SIGKILL});
  waitpid(keeper_, nullptr, 0);
  table_.EndAdopted();
  Withdraw(keeper_);
  table_.Remove(this);
}

void KeptProcess::Publish(pid_t pid) const {
  json row = json{{"pid", pid},
                  {"startTime", host::ProcessStartTime(pid)},
                  {"program", request_.program},
                  {"name", std::filesystem::path(request_.program).filename().string()},
                  {"token", ToJson(request_.token)},
                  {"role", pid == keeper_ ? "keeper" : "program"}};
  WriteJsonFile(table_.settings_.runtimeFolder + "/processes/" + std::to_string(pid), row, false, nullptr);
}

void KeptProcess::Withdraw(pid_t pid) const {
  unlink((table_.settings_.runtimeFolder + "/processes/" + std::to_string(pid)).c_str());
}

}  // namespace machine
