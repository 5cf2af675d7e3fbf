// One call as a client stub makes it: arguments in, [out] parameters to their locations.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "platform/host/rpc/client_binding.h"
#include "platform/host/rpc/rpc_async.h"
#include "platform/host/rpc/stub.h"

namespace host::rpc {

// Used by one thread at a time.
class Invocation {
 public:
  // Takes the arguments in the procedure's order, as the stub got them. [out] context handles are set to null at once.
  template <typename... Arguments>
  Invocation(const InterfaceDescription& description, std::uint16_t procedure, Arguments... arguments)
      : Invocation(description, procedure) {
    std::size_t index = 0;
    (Take(index++, arguments), ...);
  }

  // Sends the request; `call` ends later. RPC_X_NULL_REF_POINTER, RPC_X_SS_IN_NULL_CONTEXT or RPC_S_INVALID_BINDING for
  // arguments with which there is nothing to send, else what connecting answers.
  RPC_STATUS Start(const std::shared_ptr<ClientCall>& call);

  // After `call` has ended well: stores the [out] parameters, and the procedure's result at `result`.
  // RPC_X_BAD_STUB_DATA when the response cannot be read; nothing is stored then.
  RPC_STATUS Deliver(const ClientCall& call, HRESULT* result);

 private:
  Invocation(const InterfaceDescription& description, std::uint16_t procedure);
  const Procedure& Shape() const { return description_.procedures[procedure_]; }
  void Take(std::size_t index, DWORD number) { call_.arguments[index].number = number; }
  void Take(std::size_t index, const WCHAR* text);
  void Take(std::size_t index, void* pointer);
  void TakeContext(std::size_t index, void* handle);
  void TakeLocation(std::size_t index, void* location);
  void Refuse(RPC_STATUS status);
  void Store(const Parameter& parameter, const Argument& argument, void* location);
  void StoreContext(const ContextToken& token, void** location);

  const InterfaceDescription& description_;
  const std::uint16_t procedure_;
  Call call_;
  std::vector<void*> locations_;  // of the [out] parameters, by index
  std::shared_ptr<ClientBinding> binding_;
  RPC_STATUS refusal_ = RPC_S_OK;
};

// Makes the call and waits for it. Leaves with host::rpc::Raised where it could not be made or ended with a fault.
HRESULT Invoke(Invocation& invocation);

// Starts the call for `asyncState`, which RpcAsyncCompleteCall ends. Raises where it cannot be started.
void InvokeAsync(PRPC_ASYNC_STATE asyncState, Invocation invocation);

}  // namespace host::rpc
