#include "tools/rpc_text.h"

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>

namespace tool {
namespace {

using nlohmann::json;
using Numbers = std::map<std::string, std::uint64_t>;

std::string Count(std::uint64_t number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

// Both kinds of the service's handles, and whatever else there may be by the name of its type.
std::string HandlesText(Numbers handles) {
  std::string text = Count(handles["Hkd04a7Rpc_EventNotifyHandle"], "subscription") + ", " +
                     Count(handles["Hkd04a7Rpc_DeviceHandle"], "device session");
  handles.erase("Hkd04a7Rpc_EventNotifyHandle");
  handles.erase("Hkd04a7Rpc_DeviceHandle");
  for (const auto& [type, number] : handles) text += ", " + Count(number, type);
  return text;
}

// A queue is the subscriber's own, and has no bound: how far the last one is behind.
std::string QueuesText(Numbers queues) {
  if (queues.empty()) return "";
  const std::string longest = queues["longest"] == queues["events"] ? "" : std::to_string(queues["longest"]);
  return ", " + Count(queues["events"], "queued event") + (longest.empty() ? "" : " (at most " + longest + " in one)");
}

std::string HoldersText(const Numbers& calls) {
  std::string text;
  for (const auto& [procedure, number] : calls)
    text += (text.empty() ? "; the stop waits for " : ", ") + std::to_string(number) + " " + procedure;
  return text;
}

}  // namespace

std::string RpcServerText(const json& server, bool stopPending) {
  const auto figure = [&server](const char* name) { return server.value(name, std::uint64_t{0}); };
  const std::string process = "process " + std::to_string(figure("pid")) + ": ";
  if (!server.value("answering", false)) return process + "does not answer";
  const std::uint64_t waits = figure("pendingCalls");
  const std::uint64_t calls = figure("openCalls");
  return process + Count(figure("connections"), "connection") + ", " + HandlesText(server.value("handles", Numbers())) +
         QueuesText(server.value("queues", Numbers())) + ", " + Count(calls > waits ? calls - waits : 0, "call") +
         " running, " + Count(waits, "wait") + " pending, " + Count(figure("unsentBytes"), "unsent byte") + ", " +
         Count(figure("threads"), "thread") + (stopPending ? HoldersText(server.value("calls", Numbers())) : "");
}

}  // namespace tool
