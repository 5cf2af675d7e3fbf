#include "platform/host/rpc/server_status_answers.h"

#include <cstdint>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "platform/host/link/machine_link.h"
#include "platform/host/rpc/server_status.h"

namespace host::rpc {

namespace {

using nlohmann::json;

constexpr const char* kQuestion = "rpc.ask";

// The answer takes no lock of these, so that taking the listener away may wait for it.
std::mutex g_endpointsLock;
std::set<std::pair<std::string, std::string>> g_endpoints;  // guarded by g_endpointsLock

void Answer(const json& question) {
  const auto token = question.find("token");
  if (token == question.end() || !token->is_number_unsigned()) return;
  const ServerStatusInfo status = ServerStatus();
  MachineLink::Instance().Answer(json{{"op", "rpc.tell"},
                                      {"token", *token},
                                      {"connections", status.connections},
                                      {"associations", status.associations},
                                      {"handles", status.handles},
                                      {"openCalls", status.openCalls},
                                      {"pendingCalls", status.pendingCalls},
                                      {"calls", status.calls},
                                      {"threads", status.threads},
                                      {"unsentBytes", status.unsentBytes},
                                      {"queues", status.queues}});
}

}  // namespace

void BeginStatusAnswers(const std::string& uuid, const std::vector<std::string>& bindings) {
  const std::lock_guard guard(g_endpointsLock);
  for (const std::string& binding : bindings) g_endpoints.emplace(uuid, binding);
  MachineLink::Instance().Listen(kQuestion, Answer);
}

void EndStatusAnswers(const std::string& uuid, const std::vector<std::string>& bindings) {
  const std::lock_guard guard(g_endpointsLock);
  for (const std::string& binding : bindings) g_endpoints.erase({uuid, binding});
  if (g_endpoints.empty()) MachineLink::Instance().Listen(kQuestion, nullptr);
}

}  // namespace host::rpc
