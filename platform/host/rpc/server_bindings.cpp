// The server's own bindings, and their entry in the machine's endpoint map.
#include <cstdlib>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/rpc/rpc_calls.h"
#include "platform/host/rpc/server_runtime.h"
#include "platform/host/rpc/server_status_answers.h"
#include "platform/host/rpc/stub.h"
#include "platform/host/rpc/uuid_text.h"

namespace {

// What stands behind a handle in a vector of RpcServerInqBindings.
struct ServerBinding {
  std::string text;  // "ncalrpc:[endpoint]"
};

// What one call adds to the map or takes from it.
struct MapEntries {
  std::string uuid;
  std::string version;
  std::vector<std::string> bindings;
};

RPC_STATUS ReadEntries(RPC_IF_HANDLE ifSpec, const RPC_BINDING_VECTOR* bindings, MapEntries* entries) {
  if (ifSpec == nullptr) return RPC_S_UNKNOWN_IF;
  if (bindings == nullptr || bindings->Count == 0) return RPC_S_NO_BINDINGS;
  const auto& description = *static_cast<const host::rpc::InterfaceDescription*>(ifSpec);
  entries->uuid = host::rpc::UuidText(description.uuid);
  entries->version = std::to_string(description.majorVersion) + "." + std::to_string(description.minorVersion);
  for (ULONG i = 0; i < bindings->Count; ++i) {
    const auto* binding = static_cast<const ServerBinding*>(bindings->BindingH[i]);
    if (binding != nullptr) entries->bindings.push_back(binding->text);
  }
  return RPC_S_OK;
}

RPC_STATUS ChangeEndpointMap(const char* operation, const MapEntries& entries) {
  const nlohmann::json request = {
      {"op", operation}, {"uuid", entries.uuid}, {"version", entries.version}, {"bindings", entries.bindings}};
  const DWORD error = host::MachineLink::Instance().Call(request, nullptr);
  if (error == 0 || error == EPT_S_NOT_REGISTERED) return static_cast<RPC_STATUS>(error);
  return EPT_S_CANT_PERFORM_OP;
}

}  // namespace

RPC_STATUS RpcServerInqBindings(RPC_BINDING_VECTOR** bindings) {
  if (const auto code = host::InjectedFailure("RpcServerInqBindings")) return static_cast<RPC_STATUS>(*code);
  if (bindings == nullptr) return RPC_S_INVALID_ARG;
  *bindings = nullptr;
  const auto names = host::rpc::ServerRuntime::Instance().EndpointNames();
  if (names.empty()) return RPC_S_NO_BINDINGS;
  const std::size_t size = sizeof(RPC_BINDING_VECTOR) + (names.size() - 1) * sizeof(RPC_BINDING_HANDLE);
  auto* vector = static_cast<RPC_BINDING_VECTOR*>(std::calloc(1, size));
  if (vector == nullptr) return RPC_S_OUT_OF_MEMORY;
  vector->Count = static_cast<ULONG>(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) vector->BindingH[i] = new ServerBinding{"ncalrpc:[" + names[i] + "]"};
  *bindings = vector;
  return RPC_S_OK;
}

RPC_STATUS RpcBindingVectorFree(RPC_BINDING_VECTOR** bindings) {
  if (const auto code = host::InjectedFailure("RpcBindingVectorFree")) return static_cast<RPC_STATUS>(*code);
  if (bindings == nullptr || *bindings == nullptr) return RPC_S_INVALID_ARG;
  for (ULONG i = 0; i < (*bindings)->Count; ++i) delete static_cast<ServerBinding*>((*bindings)->BindingH[i]);
  std::free(*bindings);
  *bindings = nullptr;
  return RPC_S_OK;
}

RPC_STATUS RpcEpRegisterW(RPC_IF_HANDLE ifSpec, RPC_BINDING_VECTOR* bindings, UUID_VECTOR* objects,
                          RPC_WSTR /*annotation: for people who browse the map*/) {
  if (const auto code = host::InjectedFailure("RpcEpRegisterW")) return static_cast<RPC_STATUS>(*code);
  if (objects != nullptr) host::Unsupported("RpcEpRegisterW", "objects");
  MapEntries entries;
  if (const auto status = ReadEntries(ifSpec, bindings, &entries)) return status;
  host::rpc::BeginStatusAnswers(entries.uuid, entries.bindings);
  const RPC_STATUS status = ChangeEndpointMap("epmap.register", entries);
  if (status != RPC_S_OK) host::rpc::EndStatusAnswers(entries.uuid, entries.bindings);
  return status;
}

RPC_STATUS RpcEpUnregister(RPC_IF_HANDLE ifSpec, RPC_BINDING_VECTOR* bindings, UUID_VECTOR* objects) {
  if (const auto code = host::InjectedFailure("RpcEpUnregister")) return static_cast<RPC_STATUS>(*code);
  if (objects != nullptr) host::Unsupported("RpcEpUnregister", "objects");
  MapEntries entries;
  if (const auto status = ReadEntries(ifSpec, bindings, &entries)) return status;
  const RPC_STATUS status = ChangeEndpointMap("epmap.unregister", entries);
  host::rpc::EndStatusAnswers(entries.uuid, entries.bindings);
  return status;
}
