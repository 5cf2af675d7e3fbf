#include "platform/host/rpc/client_endpoint_map.h"

#include <nlohmann/json.hpp>

#include "platform/host/base/text.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/rpc/string_binding.h"
#include "platform/host/rpc/uuid_text.h"

namespace host::rpc {

namespace {

std::string EndpointOf(const std::string& binding) {
  const auto parts = ParseStringBinding(ToUtf16(binding));
  return parts && parts->protocolSequence == u"ncalrpc" ? ToUtf8(parts->endpoint) : std::string();
}

}  // namespace

RPC_STATUS LookUpEndpoint(const InterfaceDescription& description, std::string& endpoint) {
  const std::string version = std::to_string(description.majorVersion) + "." + std::to_string(description.minorVersion);
  nlohmann::json reply;
  const DWORD error = MachineLink::Instance().Call(
      {{"op", "epmap.lookup"}, {"uuid", UuidText(description.uuid)}, {"version", version}}, &reply);
  if (error != 0 || !reply.contains("bindings")) return EPT_S_NOT_REGISTERED;
  for (const auto& binding : reply["bindings"]) {
    endpoint = binding.is_string() ? EndpointOf(binding.get<std::string>()) : std::string();
    if (!endpoint.empty()) return RPC_S_OK;
  }
  return EPT_S_NOT_REGISTERED;
}

}  // namespace host::rpc
