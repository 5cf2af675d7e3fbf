// What the RPC servers of the machine's processes hold. Each process in the endpoint map is asked over its connection;
// one that is frozen or gone is waited for a moment only. Loop thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>

#include "machine/control_server.h"
#include "machine/endpoint_map.h"
#include "machine/loop.h"
#include "machine/op_registry.h"

namespace machine {

class RpcSurvey {
 public:
  // One row a process: {"pid","answering"}, and when it answered "connections", "associations", "openCalls",
  // "pendingCalls", "threads", "unsentBytes", "handles" {type: number}, "calls" {procedure: number} and "queues"
  // {"events", "longest": number}, which is empty where the process has none or cannot say at the moment.
  using Done = std::function<void(const nlohmann::json& rows)>;

  RpcSurvey(Loop& loop, const EndpointMap& endpoints, const ControlServer& server);
  ~RpcSurvey();
  RpcSurvey(const RpcSurvey&) = delete;
  RpcSurvey& operator=(const RpcSurvey&) = delete;

  // Operation "rpc.tell": a process's answer.
  void AddOperations(OpRegistry& operations);

  // Asks now; `done` is called once, with what has been answered, when nobody is left to wait for. Not called when the
  // survey ends before.
  void Begin(Done done);

 private:
  struct Round;

  void Hear(const Request& request);
  void Finish(std::uint64_t token);

  Loop& loop_;
  const EndpointMap& endpoints_;
  const ControlServer& server_;
  std::uint64_t nextToken_ = 1;
  std::map<std::uint64_t, std::unique_ptr<Round>> rounds_;  // by token
};

}  // namespace machine
