// The flat calls of the server side, but for those about bindings (server_bindings.cpp).
#include <sys/socket.h>

#include <algorithm>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/rpc/async_call.h"
#include "platform/host/rpc/rpc_calls.h"
#include "platform/host/rpc/server_call.h"
#include "platform/host/rpc/server_runtime.h"
#include "platform/host/security/sddl.h"

using host::rpc::ServerRuntime;

namespace {

constexpr unsigned kInterfaceFlags = RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY;
// Clients come in flocks after a start; the platform's default of 10 would have them wait in line to connect.
constexpr int kLeastBacklog = 128;

const host::rpc::InterfaceDescription& Description(RPC_IF_HANDLE ifSpec) {
  return *static_cast<const host::rpc::InterfaceDescription*>(ifSpec);
}

int Backlog(unsigned maxRequests) {
  return static_cast<int>(std::clamp<unsigned>(maxRequests, kLeastBacklog, SOMAXCONN));
}

// The descriptor as text; false for one that is not null and says nothing of who may call: without a list, everybody.
bool DescriptorText(const void* descriptor, std::string* sddl) {
  *sddl = host::DescriptorToSddl(descriptor);
  return descriptor == nullptr || !sddl->empty();
}

// Whether a procedure takes more context handles than the runtime provides for, which runs calls in turn by one handle
// at most.
bool TakesTooManyHandles(const host::rpc::InterfaceDescription& description) {
  const auto given = [](const host::rpc::Parameter& parameter) { return parameter.IsContextIn(); };
  const auto serialized = [&](const host::rpc::Parameter& parameter) {
    return given(parameter) && description.contextTypes[parameter.contextType].serialized;
  };
  return std::any_of(description.procedures.begin(), description.procedures.end(), [&](const auto& procedure) {
    const auto& parameters = procedure.parameters;
    return std::count_if(parameters.begin(), parameters.end(), serialized) > 1 ||
           std::count_if(parameters.begin(), parameters.end(), given) > std::ptrdiff_t{host::rpc::kMostHandlesOfCall};
  });
}

}  // namespace

RPC_STATUS RpcServerUseProtseqEpW(RPC_WSTR protocolSequence, unsigned int maxRequests, RPC_WSTR endpoint,
                                  void* securityDescriptor) {
  if (const auto code = host::InjectedFailure("RpcServerUseProtseqEpW")) return static_cast<RPC_STATUS>(*code);
  if (protocolSequence == nullptr || std::u16string_view(protocolSequence) != u"ncalrpc") {
    return RPC_S_PROTSEQ_NOT_SUPPORTED;
  }
  const std::string name = endpoint != nullptr ? host::ToUtf8(endpoint) : std::string();
  if (!host::rpc::ValidEndpointName(name)) return RPC_S_INVALID_ENDPOINT_FORMAT;
  std::string sddl;
  if (!DescriptorText(securityDescriptor, &sddl)) return RPC_S_INVALID_SECURITY_DESC;
  return ServerRuntime::Instance().AddEndpoint(name, Backlog(maxRequests), sddl);
}

RPC_STATUS RpcServerRegisterIf3(RPC_IF_HANDLE ifSpec, UUID* managerType, RPC_MGR_EPV* managerVector, unsigned int flags,
                                unsigned int maxCalls, unsigned int /*maxRpcSize: without effect on local calls*/,
                                RPC_IF_CALLBACK_FN* callback, void* securityDescriptor) {
  if (const auto code = host::InjectedFailure("RpcServerRegisterIf3")) return static_cast<RPC_STATUS>(*code);
  if (ifSpec == nullptr) return RPC_S_INVALID_ARG;
  if (managerType != nullptr) host::Unsupported("RpcServerRegisterIf3", "managerType");
  if (managerVector != nullptr) host::Unsupported("RpcServerRegisterIf3", "managerVector");
  if (flags != kInterfaceFlags) host::Unsupported("RpcServerRegisterIf3", "flags");
  if (callback != nullptr) host::Unsupported("RpcServerRegisterIf3", "callback");
  if (TakesTooManyHandles(Description(ifSpec))) {
    host::Unsupported("RpcServerRegisterIf3", "ifSpec: several context handles in one procedure");
  }
  std::string sddl;
  if (!DescriptorText(securityDescriptor, &sddl)) return RPC_S_INVALID_SECURITY_DESC;
  return ServerRuntime::Instance().interfaces().Register(Description(ifSpec), maxCalls, sddl);
}

RPC_STATUS RpcServerUnregisterIf(RPC_IF_HANDLE ifSpec, UUID* managerType, unsigned int waitForCallsToComplete) {
  if (const auto code = host::InjectedFailure("RpcServerUnregisterIf")) return static_cast<RPC_STATUS>(*code);
  if (ifSpec == nullptr) host::Unsupported("RpcServerUnregisterIf", "ifSpec: null");
  if (managerType != nullptr) host::Unsupported("RpcServerUnregisterIf", "managerType");
  return ServerRuntime::Instance().Unregister(Description(ifSpec), waitForCallsToComplete != 0);
}

RPC_STATUS RpcServerListen(unsigned int /*minimumCallThreads*/, unsigned int /*maxCalls*/, unsigned int dontWait) {
  if (const auto code = host::InjectedFailure("RpcServerListen")) return static_cast<RPC_STATUS>(*code);
  if (dontWait != 0) host::Unsupported("RpcServerListen", "dontWait");
  return ServerRuntime::Instance().Listen();
}

RPC_STATUS RpcServerTestCancel(RPC_BINDING_HANDLE binding) {
  if (const auto code = host::InjectedFailure("RpcServerTestCancel")) return static_cast<RPC_STATUS>(*code);
  if (binding != nullptr) return static_cast<host::rpc::AsyncCall*>(binding)->TestCancel();
  auto* current = host::rpc::ServerCall::Current();
  return current != nullptr ? current->TestCancel() : RPC_S_NO_CALL_ACTIVE;
}
