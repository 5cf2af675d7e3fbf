#include "platform/host/rpc/client_invocation.h"

#include <cstring>

#include "platform/host/rpc/fault_status.h"
#include "platform/host/rpc/rpc_calls.h"

namespace host::rpc {

Invocation::Invocation(const InterfaceDescription& description, std::uint16_t procedure)
    : description_(description), procedure_(procedure) {
  call_.arguments.resize(Shape().parameters.size());
  locations_.resize(Shape().parameters.size());
}

void Invocation::Refuse(RPC_STATUS status) {
  if (refusal_ == RPC_S_OK) refusal_ = status;
}

void Invocation::Take(std::size_t index, const WCHAR* text) {
  if (text == nullptr) return Refuse(RPC_X_NULL_REF_POINTER);
  call_.arguments[index].text = text;
}

void Invocation::Take(std::size_t index, void* pointer) {
  const Parameter& parameter = Shape().parameters[index];
  if (parameter.kind == ParameterKind::Binding) {
    if (pointer == nullptr) return Refuse(RPC_S_INVALID_BINDING);
    binding_ = static_cast<BindingHandle*>(pointer)->binding;
  } else if (parameter.direction == Direction::In) {
    TakeContext(index, pointer);
  } else {
    TakeLocation(index, pointer);
  }
}

void Invocation::TakeContext(std::size_t index, void* handle) {
  if (handle == nullptr) return Refuse(RPC_X_SS_IN_NULL_CONTEXT);
  const auto* context = static_cast<ClientContext*>(handle);
  call_.arguments[index].token = context->token;
  binding_ = context->binding;
}

void Invocation::TakeLocation(std::size_t index, void* location) {
  if (location == nullptr) return Refuse(RPC_X_NULL_REF_POINTER);
  locations_[index] = location;
  const Parameter& parameter = Shape().parameters[index];
  if (parameter.kind != ParameterKind::Context) return;
  auto** handle = static_cast<void**>(location);
  if (parameter.direction == Direction::InOut) return TakeContext(index, *handle);
  *handle = nullptr;
}

RPC_STATUS Invocation::Start(const std::shared_ptr<ClientCall>& call) {
  if (refusal_ != RPC_S_OK) return refusal_;
  // A connection that turns out to be lost before anything went out is replaced once.
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::shared_ptr<ClientConnection> connection;
    const RPC_STATUS status = binding_->Connect(description_, connection);
    if (status != RPC_S_OK) return status;
    std::vector<std::byte> stub;
    WriteRequest(Shape(), connection->TransferSyntax(), call_, stub);
    if (connection->Submit(call, procedure_, stub)) return RPC_S_OK;
  }
  return RPC_S_SERVER_UNAVAILABLE;
}

RPC_STATUS Invocation::Deliver(const ClientCall& call, HRESULT* result) {
  if (ReadResponse(Shape(), call.ResponseSyntax(), call.ResponseStub(), call_) != 0) return RPC_X_BAD_STUB_DATA;
  for (std::size_t i = 0; i < locations_.size(); ++i) {
    if (locations_[i] != nullptr) Store(Shape().parameters[i], call_.arguments[i], locations_[i]);
  }
  *result = static_cast<HRESULT>(call_.result);
  return RPC_S_OK;
}

void Invocation::Store(const Parameter& parameter, const Argument& argument, void* location) {
  if (parameter.kind == ParameterKind::Context) {
    StoreContext(argument.token, static_cast<void**>(location));
  } else if (parameter.kind == ParameterKind::Record) {
    std::memcpy(location, argument.record.data(), argument.record.size());
  } else {
    *static_cast<DWORD*>(location) = argument.number;
  }
}

void Invocation::StoreContext(const ContextToken& token, void** location) {
  if (token.IsNull()) {
    RpcSsDestroyClientContext(location);
  } else if (*location != nullptr) {
    static_cast<ClientContext*>(*location)->token = token;
  } else {
    *location = new ClientContext{binding_, token};
  }
}

HRESULT Invoke(Invocation& invocation) {
  const auto call = std::make_shared<ClientCall>();
  RPC_STATUS status = invocation.Start(call);
  if (status == RPC_S_OK) status = call->Wait();
  HRESULT result = 0;
  if (status == RPC_S_OK) status = invocation.Deliver(*call, &result);
  if (status != RPC_S_OK) RpcRaiseException(status);
  return result;
}

}  // namespace host::rpc
