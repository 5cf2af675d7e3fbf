#include "tools/service_client.h"

#include "tools/exit_codes.h"
#ifndef _WIN32
#include "tools/machine_call.h"
#endif
#include "tools/numbers.h"
#include "tools/report.h"

namespace tool {
namespace {

std::string NextStep(const client::Status& status, const Gate& gate) {
  if (status.ServiceNotReachable()) return kStartService;
  if (!gate.name.empty()) return gate.next;
  // By number: the name is that of the code which a result carries.
  const std::uint32_t code = status.Code();
  return "hkd04a7ctl explain " + (code > 0xFFFF ? Hex(code) : std::to_string(code));
}

}  // namespace

int ReportStatus(const Options& options, const std::string& tried, const client::Status& status, Gate gate) {
#ifndef _WIN32
  if (status.ServiceNotReachable() && !MachineIsUp()) return RequireMachine(options, tried);
#endif
  if (gate.name.empty()) gate = GateOf(status);
  const int exitCode = status.ServiceNotReachable() ? kServiceNotRunning : kFailed;
  return ReportRefusal(options, exitCode, {tried, status, gate, NextStep(status, gate)});
}

int Connect(const Options& options, client::Connection* connection) {
  const client::Status status = connection->Open();
  return status.Ok() ? kDone : ReportStatus(options, "bind to the service", status);
}

}  // namespace tool
