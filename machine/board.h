// The parts of a machine that is up, and how they are brought up, taken down and booted anew. Loop thread only, except
// construction and BringUp, which come before the loop runs.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "machine/app_service_host.h"
#include "machine/app_service_operations.h"
#include "machine/control_server.h"
#include "machine/device.h"
#include "machine/endpoint_map.h"
#include "machine/loop.h"
#include "machine/machine.h"
#include "machine/named_events.h"
#include "machine/op_registry.h"
#include "machine/package_operations.h"
#include "machine/package_store.h"
#include "machine/power.h"
#include "machine/process_table.h"
#include "machine/rpc_survey.h"
#include "machine/service_manager.h"
#include "machine/session_operations.h"
#include "machine/session_processes.h"
#include "machine/sessions.h"
#include "machine/settle.h"
#include "machine/task_operations.h"
#include "machine/user_store.h"

namespace machine {

class Board {
 public:
  // The mappings have been opened already; the loop outlives the board. `onDown` is called once, when everything has
  // ended.
  Board(Loop& loop, const Options& options, std::unique_ptr<Device> device,
        std::shared_ptr<host::NamedEventMap> eventMap, std::function<void()> onDown);

  // Reads what survives a boot, listens, starts the automatic services. False with a sentence in `error`.
  bool BringUp(std::string* error);

  // Ends services and processes, then every connection. Ignored while that lasts already.
  void TakeDown();

 private:
  void AddOperations();
  void Reboot(const Request& request);
  void FinishReboot(const std::shared_ptr<Connection>& caller, const Responder& responder);
  void EndEverything(std::function<void()> done);
  Token TokenOf(const Connection& connection) const;
  host::Identity IdentityOf(const Connection& connection) const;
  void EndAppServicesOfThoseWhoLeft();
  void TellStatus(const Responder& responder);
  std::string Followers() const;
  nlohmann::json Status();

  const host::MachineDirectory directory_;
  const Clock::time_point started_ = Clock::now();
  unsigned boots_ = 1;
  bool ending_ = false;
  std::vector<Responder> downCallers_;
  const std::function<void()> onDown_;

  std::unique_ptr<Device> device_;
  OpRegistry operations_;
  ProcessTable processes_;
  ServiceManager services_;
  UserStore users_;
  Sessions sessions_;
  SessionProcesses sessionProcesses_;
  SessionOperations sessionOperations_;
  PackageStore packages_;
  AppServiceHost appServices_;
  PackageOperations packageOperations_;
  AppServiceOperations appServiceOperations_;
  TaskOperations tasks_;
  Power power_;
  EndpointMap endpoints_;
  NamedEvents events_;
  Settle settle_;
  ControlServer server_;
  RpcSurvey rpcSurvey_;
};

}  // namespace machine
