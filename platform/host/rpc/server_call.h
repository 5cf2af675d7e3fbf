// One call in progress, from its admission to its reply.
//
// Two things end it: its routine has left, and its outcome has been handed to the connection. For a synchronous call
// both happen on the same thread; an asynchronous one is completed or aborted by any thread, while the routine still
// runs or long after, and keeps itself alive until then.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/host/rpc/async_call.h"
#include "platform/host/rpc/server_connection.h"
#include "platform/host/rpc/server_contexts.h"
#include "platform/host/rpc/server_interfaces.h"
#include "platform/host/rpc/server_threads.h"
#include "platform/host/rpc/stub.h"

namespace host::rpc {

class PostedTasks;

// The tables a call works on; they live as long as the process.
struct ServerTables {
  InterfaceTable& interfaces;
  ContextTable& contexts;
  PostedTasks& posted;
};

// What a request says, ready to be run.
struct ServerRequest {
  std::shared_ptr<ServerConnection> connection;
  std::shared_ptr<Association> association;
  ServerInterface* interface = nullptr;
  const Procedure* procedure = nullptr;
  Syntax syntax = Syntax::Ndr;
  std::uint32_t callId = 0;
  std::uint16_t presentationContext = 0;
  std::uint16_t maxFragment = 0;
  Call call;                        // as ReadRequest left it
  std::unique_ptr<HeldBytes> held;  // of the client's share, for a request that came in fragments
};

class ServerCall final : public AsyncCall, public Task {
 public:
  ServerCall(const ServerTables& tables, ServerRequest request);

  // For a call that its connection knows: has it admitted and begins the use of its handles. Answers what is to be run
  // now: the call itself unless it was refused, or stands in a handle's line and will be run by who leaves that.
  std::shared_ptr<Task> Begin();

  std::shared_ptr<Task> Run() override;

  // The client has cancelled it, or is gone. The connection's lock is held.
  void MarkCancelled() { cancelled_ = true; }
  // The client no longer wants the reply either.
  void MarkOrphaned();

  RPC_STATUS Complete(PRPC_ASYNC_STATE asyncState, void* reply) override;
  RPC_STATUS Abort(PRPC_ASYNC_STATE asyncState, ULONG exceptionCode) override;
  RPC_STATUS TestCancel() override;

  // Who has made the call; not null.
  const std::shared_ptr<const TokenFacts>& ClientToken() const { return request_.connection->peer().token; }

  std::uint32_t Id() const { return request_.callId; }

  // The call whose routine runs on this thread, or null.
  static ServerCall* Current();

 private:
  ClientShare& Client() const { return *request_.connection->peer().share; }
  std::shared_ptr<Task> BeginAdmitted();
  std::shared_ptr<Task> Refuse(std::uint32_t fault);
  bool StillWanted();
  void SetBinding();
  std::uint32_t Invoke();
  void SendResponse();
  void SendFault(std::uint32_t status, bool executed);
  RPC_STATUS EndUnanswered(RPC_STATUS status);
  void GiveOutHandles();
  std::shared_ptr<Task> LeaveHandles();
  std::shared_ptr<Task> RoutineLeft();
  std::shared_ptr<Task> HalfEnded();
  bool HoldsHandlesUntilReply() const;

  const ServerTables tables_;
  ServerRequest request_;
  RPC_ASYNC_STATE state_{};
  CallHandles handles_;   // in use
  bool granted_ = false;  // the arguments have the handles' values; set by the thread that runs the call
  std::shared_ptr<Task> self_;
  std::atomic<bool> answered_{false};
  std::atomic<bool> cancelled_{false};
  std::atomic<bool> orphaned_{false};
  std::atomic<int> open_{2};  // the routine and the outcome
};

}  // namespace host::rpc
