#include "machine/board.h"

#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>

#include "machine/boot.h"
#include "machine/event_followers.h"
#include "machine/journal_readers.h"
#include "machine/named_event_ops.h"
#include "machine/process_operations.h"
#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr DWORD kShutdownInProgress = 1115;
// What a caller gets to read its last answer.
constexpr std::chrono::milliseconds kFlushLimit{200};

// The one folder that holds both of the machine's, or empty: then the environment says where they are.
std::string RootOf(const host::MachineDirectory& directory) {
  const std::filesystem::path runtime(directory.runtime);
  const std::filesystem::path state(directory.state);
  const bool together = runtime.parent_path() == state.parent_path();
  return together && runtime.filename() == "run" && state.filename() == "state" ? runtime.parent_path().string() : "";
}

std::string ProgramBeside(const char* name) {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path() / name;
}

std::string KeeperProgram(const Options& options) {
  return options.keeperProgram.empty() ? ProgramBeside("hkd04a7-machine") : options.keeperProgram;
}

}  // namespace

Board::Board(Loop& loop, const Options& options, std::unique_ptr<Device> device,
             std::shared_ptr<host::NamedEventMap> eventMap, std::function<void()> onDown)
    : directory_(options.directory),
      onDown_(std::move(onDown)),
      device_(std::move(device)),
      processes_(loop, {options.directory.runtime, RootOf(options.directory), KeeperProgram(options), options.adopts}),
      services_(loop, processes_, options.directory.state + "/services.json", options.launcher),
      users_(options.directory.state + "/users.json"),
      sessions_(options.directory.runtime + "/sessions.json"),
      sessionProcesses_(options.directory.runtime, sessions_),
      sessionOperations_(sessions_, users_, services_),
      packages_(options.directory.state + "/packages.json"),
      appServices_(loop, processes_),
      packageOperations_(packages_, appServices_, users_),
      appServiceOperations_({options.directory.runtime, ProgramBeside("hkd04a7ctl")}, appServices_, packages_, users_,
                            [this](const Connection& connection) { return TokenOf(connection); }),
      tasks_(loop, options.directory.state, options.directory.runtime, processes_, users_, sessions_),
      power_(services_),
      events_(std::move(eventMap)),
      settle_(
          loop, *device_, services_, [this] { return Followers(); }, options.directory.runtime),
      server_(loop, operations_),
      rpcSurvey_(loop, endpoints_, server_) {}

bool Board::BringUp(std::string* error) {
  if (!services_.Load(error) || !users_.Load(error) || !packages_.Load(error) || !tasks_.Load(error)) return false;
  if (!BootDevices(error)) return false;
  AddOperations();
  sessions_.Boot();
  if (!server_.Listen(directory_.runtime + "/control", error)) return false;
  services_.StartAutomatic();
  return true;
}

void Board::AddOperations() {
  services_.AddOperations(operations_);
  sessionOperations_.Add(operations_);
  sessionProcesses_.AddOperations(operations_);
  packageOperations_.Add(operations_);
  appServiceOperations_.Add(operations_);
  sessions_.OnChange([this] { EndAppServicesOfThoseWhoLeft(); });
  tasks_.AddOperations(operations_);
  power_.AddOperations(operations_);
  endpoints_.AddOperations(operations_);
  settle_.AddOperations(operations_);
  rpcSurvey_.AddOperations(operations_);
  AddJournalOperations(operations_, directory_.runtime);
  AddProcessOperations(operations_, processes_, users_, sessions_);
  AddNamedEventOps(operations_, events_, [this](const Connection& connection) { return IdentityOf(connection); });
  operations_.Add("ping", [](const Request& request) { request.responder.Done(); });
  operations_.Add("machine.status", [this](const Request& request) { TellStatus(request.responder); });
  operations_.Add("machine.reboot", [this](const Request& request) { Reboot(request); });
  operations_.Add("machine.down", [this](const Request& request) {
    downCallers_.push_back(request.responder);
    TakeDown();
  });
}

void Board::TakeDown() {
  if (std::exchange(ending_, true)) return;
  EndEverything([this] {
    for (const Responder& caller : downCallers_) caller.Done();
    server_.FlushConnections(kFlushLimit);
    server_.CloseConnections(nullptr);
    onDown_();
  });
}

void Board::EndEverything(std::function<void()> done) {
  appServices_.ShutDown();
  services_.ShutDown([this, done = std::move(done)] {
    tasks_.ShutDown();
    processes_.TerminateAll(done);
  });
}

void Board::Reboot(const Request& request) {
  if (std::exchange(ending_, true)) return request.responder.Fail(kShutdownInProgress, "the machine goes down already");
  EndEverything(
      [this, caller = request.connection, responder = request.responder] { FinishReboot(caller, responder); });
}

void Board::FinishReboot(const std::shared_ptr<Connection>& caller, const Responder& responder) {
  server_.CloseConnections(caller.get());
  caller->ReleaseHoldings();
  std::string error;
  const bool cleared = ClearRuntime(directory_, &error) && BootDevices(&error);
  sessionProcesses_.Boot();
  sessions_.Boot();
  appServices_.Boot();
  tasks_.Boot();
  power_.Boot();
  ++boots_;
  ending_ = false;
  services_.EndShutdown();
  services_.StartAutomatic();
  if (!downCallers_.empty()) return TakeDown();
  if (!cleared) return responder.Fail(ERROR_WRITE_FAULT, error);
  responder.Done();
}

// Who the process behind a connection is. The machine's own process is LocalSystem: in tests, the service runs there.
Token Board::TokenOf(const Connection& connection) const {
  const pid_t pid = connection.peer().pid;
  if (pid == getpid()) return host::SystemToken();
  return processes_.TokenOf(pid).value_or(OutsideToken(sessions_));
}

host::Identity Board::IdentityOf(const Connection& connection) const {
  return host::IdentityOf(TokenOf(connection));
}

// In the sessions of people nothing of a package outlasts the logon.
void Board::EndAppServicesOfThoseWhoLeft() {
  appServices_.End([this](const AppServiceTarget& target) {
    const auto session = sessions_.all().find(target.session);
    const bool stays = session != sessions_.all().end() && session->second.sid == target.userSid;
    return target.session != kServicesSession && !stays;
  });
}

void Board::TellStatus(const Responder& responder) {
  rpcSurvey_.Begin([this, responder](const json& rows) {
    json status = Status();
    status["rpc"] = rows;
    responder.Reply(std::move(status));
  });
}

std::string Board::Followers() const {
  return FollowersText(ClientModeProcesses(processes_.Rows()), tasks_.Report(), users_.Report());
}

json Board::Status() {
  const auto up = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started_);
  const DeviceCounts device = device_->Counts();
  const json programs = processes_.Rows();
  json events = json::array();
  for (const NamedEventStatus& event : events_.List())
    events.push_back(
        json{{"name", event.name}, {"signalled", event.signalled}, {"holds", event.holds}, {"sddl", event.sddl}});
  json connections = json::array();
  for (const auto& [id, connection] : server_.connections())
    connections.push_back(json{{"id", id}, {"pid", connection->peer().pid}});
  return json{{"pid", getpid()},
              {"uptimeMs", up.count()},
              {"boots", boots_},
              {"suspended", power_.suspended()},
              {"services", services_.Report()},
              {"sessions", sessions_.Report()},
              {"users", users_.Report()},
              {"processes", programs},
              {"clientMode", ClientModeProcesses(programs)},
              {"sessionProcesses", sessionProcesses_.Rows()},
              {"appServices", appServices_.Report()},
              {"tasks", tasks_.Report()},
              {"connections", connections},
              {"events", events},
              {"endpoints", endpoints_.Report()},
              {"device",
               {{"notificationsRaised", device.notificationsRaised},
                {"notificationsOutstanding", device.notificationsOutstanding},
                {"callsAnswered", device.callsAnswered},
                {"callsInProgress", device.callsInProgress},
                {"waiters", device.waiters}}}};
}

}  // namespace machine
