#include "platform/host/rpc/server_call.h"

#include <new>
#include <utility>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/journal.h"
#include "platform/host/identity/thread_token.h"
#include "platform/host/rpc/fault_status.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/raised.h"
#include "platform/host/rpc/server_posted_tasks.h"

namespace host::rpc {

namespace {

thread_local ServerCall* currentCall = nullptr;

class CurrentCallScope {
 public:
  explicit CurrentCallScope(ServerCall* call) { currentCall = call; }
  // A thread that went on as its client would serve the next one with too many rights.
  ~CurrentCallScope() {
    DropLeftoverThreadToken();
    currentCall = nullptr;
  }
  CurrentCallScope(const CurrentCallScope&) = delete;
  CurrentCallScope& operator=(const CurrentCallScope&) = delete;
};

}  // namespace

ServerCall::ServerCall(const ServerTables& tables, ServerRequest request)
    : tables_(tables), request_(std::move(request)) {
  RpcAsyncInitializeHandle(&state_, sizeof(state_));
  state_.RuntimeInfo = static_cast<AsyncCall*>(this);
}

ServerCall* ServerCall::Current() {
  return currentCall;
}

std::shared_ptr<Task> ServerCall::Begin() {
  switch (tables_.interfaces.Admit(*request_.interface, *request_.procedure, Client())) {
    case Admission::UnknownInterface:
      SendFault(kFaultUnknownInterface, false);
      return nullptr;
    case Admission::TooBusy:
      SendFault(kFaultServerTooBusy, false);
      return nullptr;
    default:
      return BeginAdmitted();
  }
}

// Once it stands in line, another thread may run the call.
std::shared_ptr<Task> ServerCall::BeginAdmitted() {
  const auto& interface = *request_.interface->description;
  switch (
      tables_.contexts.Begin(*request_.association, interface, *request_.procedure, request_.call, *this, &handles_)) {
    case Use::Granted:
      granted_ = true;
      return shared_from_this();
    case Use::Waiting:
      return nullptr;
    case Use::LineFull:
      return Refuse(kFaultServerTooBusy);
    default:
      return Refuse(kFaultContextMismatch);
  }
}

// Ends an admitted call whose routine is not to run. Answers what has become ready by that.
std::shared_ptr<Task> ServerCall::Refuse(std::uint32_t fault) {
  answered_ = true;
  tables_.interfaces.RoutineEnded(*request_.interface, *request_.procedure, Client());
  SendFault(fault, false);
  auto next = RoutineLeft();
  auto other = HalfEnded();
  return next ? next : other;
}

std::shared_ptr<Task> ServerCall::Run() {
  if (!granted_ && !StillWanted()) return Refuse(kFaultContextMismatch);
  SetBinding();
  if (request_.procedure->asynchronous) self_ = shared_from_this();
  const std::uint32_t fault = Invoke();
  tables_.interfaces.RoutineEnded(*request_.interface, *request_.procedure, Client());
  if (fault == 0 && request_.procedure->asynchronous) return RoutineLeft();
  std::shared_ptr<Task> next;
  if (!answered_.exchange(true)) {
    if (fault == 0) SendResponse();
    if (fault != 0) SendFault(fault, true);
    self_.reset();
    next = HalfEnded();
  }
  auto other = RoutineLeft();
  return next ? next : other;
}

// While it stood in line the handle may have been closed or the client may have gone.
bool ServerCall::StillWanted() {
  return !request_.connection->Closed() && tables_.contexts.Values(handles_, *request_.procedure, request_.call);
}

void ServerCall::SetBinding() {
  const auto& parameters = request_.procedure->parameters;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    if (parameters[i].kind != ParameterKind::Binding) continue;
    request_.call.arguments[i].value = static_cast<AsyncCall*>(this);
  }
}

// Runs the routine. Answers the fault it left with, or 0.
std::uint32_t ServerCall::Invoke() {
  const CurrentCallScope scope(this);
  try {
    request_.procedure->invoke(request_.call, request_.procedure->asynchronous ? &state_ : nullptr);
    return 0;
  } catch (const Raised& raised) {
    return FaultFromStatus(raised.status);
  } catch (const std::bad_alloc&) {
    return FaultFromStatus(RPC_S_OUT_OF_MEMORY);
  }
}

void ServerCall::SendResponse() {
  GiveOutHandles();
  // The thread's, so that a reply costs no memory of its own.
  thread_local Bytes stub;
  thread_local Bytes bytes;
  stub.clear();
  bytes.clear();
  if (!orphaned_) {
    WriteResponse(*request_.procedure, request_.syntax, request_.call, stub);
    ResponsePdu response;
    response.contextId = request_.presentationContext;
    response.stub = stub;
    AppendResponse(request_.callId, response, request_.maxFragment, bytes);
  }
  request_.connection->SendReply(request_.callId, bytes);
}

void ServerCall::SendFault(std::uint32_t status, bool executed) {
  Bytes bytes;
  FaultPdu fault;
  fault.contextId = request_.presentationContext;
  fault.status = status;
  if (!orphaned_) AppendFault(request_.callId, fault, executed ? 0 : kDidNotExecute, bytes);
  request_.connection->SendReply(request_.callId, bytes);
}

// Turns the values that the routine left in [out] handles into handles, and closes those it set to null.
void ServerCall::GiveOutHandles() {
  const auto& parameters = request_.procedure->parameters;
  auto handle = handles_.begin();
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    auto& argument = request_.call.arguments[i];
    if (parameters[i].IsContextIn()) {
      const auto& given = *handle++;
      if (parameters[i].IsContextOut()) tables_.contexts.Update(*request_.association, *given, argument.value);
    }
    if (!parameters[i].IsContextOut()) continue;
    if (argument.value == nullptr) argument.token = {};
    if (argument.value == nullptr || parameters[i].direction != Direction::Out) continue;
    std::shared_ptr<Task> rundown;
    const auto& type = request_.interface->description->contextTypes[parameters[i].contextType];
    argument.token = tables_.contexts.Add(*request_.association, type, argument.value, &rundown);
    if (rundown) tables_.posted.Post(std::move(rundown));
  }
}

// An asynchronous call keeps a serialized handle until it is answered; any other handle only while a routine runs on
// it.
bool ServerCall::HoldsHandlesUntilReply() const {
  for (const auto& handle : handles_) {
    if (handle && handle->type.serialized) return true;
  }
  return false;
}

std::shared_ptr<Task> ServerCall::LeaveHandles() {
  std::shared_ptr<Task> next;
  for (const auto& handle : handles_) {
    if (!handle) continue;
    auto ready = tables_.contexts.Leave(handle);
    if (ready && next) tables_.posted.Post(std::move(ready));
    if (ready) next = std::move(ready);
  }
  return next;
}

std::shared_ptr<Task> ServerCall::RoutineLeft() {
  std::shared_ptr<Task> next;
  if (!HoldsHandlesUntilReply()) next = LeaveHandles();
  auto other = HalfEnded();
  return next ? next : other;
}

// Ends the call with the second of its two halves.
std::shared_ptr<Task> ServerCall::HalfEnded() {
  if (--open_ > 0) return nullptr;
  std::shared_ptr<Task> next;
  if (HoldsHandlesUntilReply()) next = LeaveHandles();
  tables_.interfaces.CallEnded(*request_.interface, *request_.procedure, Client());
  return next;
}

void ServerCall::MarkOrphaned() {
  cancelled_ = true;
  orphaned_ = true;
}

RPC_STATUS ServerCall::Complete(PRPC_ASYNC_STATE, void* reply) {
  if (!request_.procedure->asynchronous || answered_.exchange(true)) return RPC_S_INVALID_ASYNC_CALL;
  const auto self = std::move(self_);
  if (const auto code = InjectedFailure("RpcAsyncCompleteCall")) return EndUnanswered(static_cast<RPC_STATUS>(*code));
  if (reply != nullptr) request_.call.result = *static_cast<const std::uint32_t*>(reply);
  const JournalEntry entry;
  SendResponse();
  // A wait that ends without an event is nobody's receipt.
  if (request_.call.result == 0) entry.Write("rpc", "wait answered");
  if (currentCall == nullptr) tables_.posted.NoteDelivery();
  tables_.posted.Post(HalfEnded());
  return RPC_S_OK;
}

RPC_STATUS ServerCall::Abort(PRPC_ASYNC_STATE, ULONG exceptionCode) {
  if (!request_.procedure->asynchronous || answered_.exchange(true)) return RPC_S_INVALID_ASYNC_CALL;
  const auto self = std::move(self_);
  if (const auto code = InjectedFailure("RpcAsyncAbortCall")) return EndUnanswered(static_cast<RPC_STATUS>(*code));
  SendFault(FaultFromStatus(static_cast<RPC_STATUS>(exceptionCode)), true);
  tables_.posted.Post(HalfEnded());
  return RPC_S_OK;
}

// A call whose outcome could not be handed over is over all the same.
RPC_STATUS ServerCall::EndUnanswered(RPC_STATUS status) {
  request_.connection->SendReply(request_.callId, {});
  tables_.posted.Post(HalfEnded());
  return status;
}

RPC_STATUS ServerCall::TestCancel() {
  return cancelled_ ? RPC_S_OK : RPC_S_CALL_IN_PROGRESS;
}

}  // namespace host::rpc
