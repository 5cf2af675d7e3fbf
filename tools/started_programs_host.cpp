#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/link/machine_link.h"
#include "tools/machine_control.h"
#include "tools/started_programs.h"

namespace tool {
namespace {

using nlohmann::json;

// Null where the machine does not answer; these commands work without what it would have told.
json Ask(const json& message) {
  json reply;
  return host::MachineLink::Instance().Call(message, &reply) == ERROR_SUCCESS ? reply : json();
}

json History() {
  const json reply = Ask({{"op", "process.history"}});
  return reply.is_object() ? reply.value("programs", json::array()) : json::array();
}

StartedProgram ProgramOf(const json& row) {
  return {row.value("pid", 0u), row.value("token", json::object()).value("session", 0u), row.value("program", ""),
          row.value("commandLine", "")};
}

// `session`: where the request has its program run.
bool Fits(const StartedProgram& program, const json& row, const StartedBy& request, std::uint32_t session) {
  const bool ending = request.parameters.empty() || program.commandLine.ends_with(' ' + request.parameters);
  if (program.session != session || !ending) return false;
  return !request.exitCode || row.value("exitCode", std::int64_t{-1}) == *request.exitCode;
}

}  // namespace

StartedPrograms::StartedPrograms() {
  const json service = Ask({{"op", "service.query"}, {"name", kServiceName}});
  if (service.is_object()) service_ = service.value("pid", std::uint64_t{0});
  const json history = History();
  if (!history.empty()) last_ = history.back().value("number", std::uint64_t{0});
}

std::vector<StartedProgram> StartedPrograms::ByService(const StartedBy& request) const {
  std::vector<StartedProgram> started;
  if (service_ == 0) return started;
  const std::uint32_t session = request.clientSession ? host::OwnToken().session : 0;
  for (const json& row : History()) {
    if (row.value("number", std::uint64_t{0}) <= last_ || row.value("requester", std::uint64_t{0}) != service_)
      continue;
    if (const StartedProgram program = ProgramOf(row); Fits(program, row, request, session)) started.push_back(program);
  }
  return started;
}

}  // namespace tool
