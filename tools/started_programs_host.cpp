#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"
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

}  // namespace

StartedPrograms::StartedPrograms() {
  const json service = Ask({{"op", "service.query"}, {"name", kServiceName}});
  if (service.is_object()) service_ = service.value("pid", std::uint64_t{0});
  const json history = History();
  if (!history.empty()) last_ = history.back().value("number", std::uint64_t{0});
}

std::vector<StartedProgram> StartedPrograms::ByService() const {
  std::vector<StartedProgram> started;
  if (service_ == 0) return started;
  for (const json& row : History())
    if (row.value("number", std::uint64_t{0}) > last_ && row.value("requester", std::uint64_t{0}) == service_)
      started.push_back(ProgramOf(row));
  return started;
}

}  // namespace tool
