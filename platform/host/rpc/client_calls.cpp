// The flat functions of the client: string bindings, binding handles, context handles.
#include <cstdlib>
#include <cstring>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/rpc/client_binding.h"
#include "platform/host/rpc/rpc_calls.h"
#include "platform/host/rpc/server_endpoint.h"
#include "platform/host/rpc/string_binding.h"

namespace {

std::u16string TextOf(const WCHAR* text) {
  return text != nullptr ? std::u16string(text) : std::u16string();
}

}  // namespace

RPC_STATUS RpcStringBindingComposeW(RPC_WSTR objectUuid, RPC_WSTR protocolSequence, RPC_WSTR networkAddress,
                                    RPC_WSTR endpoint, RPC_WSTR options, RPC_WSTR* stringBinding) {
  if (const auto code = host::InjectedFailure("RpcStringBindingComposeW")) return static_cast<RPC_STATUS>(*code);
  if (stringBinding == nullptr) return RPC_S_OK;
  const std::u16string text = host::rpc::ComposeStringBinding(
      {TextOf(objectUuid), TextOf(protocolSequence), TextOf(networkAddress), TextOf(endpoint), TextOf(options)});
  const std::size_t size = (text.size() + 1) * sizeof(WCHAR);
  *stringBinding = static_cast<RPC_WSTR>(std::malloc(size));
  if (*stringBinding == nullptr) return RPC_S_OUT_OF_MEMORY;
  std::memcpy(*stringBinding, text.c_str(), size);
  return RPC_S_OK;
}

RPC_STATUS RpcStringFreeW(RPC_WSTR* string) {
  std::free(*string);
  *string = nullptr;
  return RPC_S_OK;
}

RPC_STATUS RpcBindingFromStringBindingW(RPC_WSTR stringBinding, RPC_BINDING_HANDLE* binding) {
  if (const auto code = host::InjectedFailure("RpcBindingFromStringBindingW")) return static_cast<RPC_STATUS>(*code);
  const auto parts = host::rpc::ParseStringBinding(TextOf(stringBinding));
  if (!parts) return RPC_S_INVALID_STRING_BINDING;
  if (parts->protocolSequence != u"ncalrpc") return RPC_S_PROTSEQ_NOT_SUPPORTED;
  if (!parts->objectUuid.empty()) host::Unsupported("RpcBindingFromStringBindingW", "object UUID");
  if (!parts->networkAddress.empty()) host::Unsupported("RpcBindingFromStringBindingW", "network address");
  if (!parts->options.empty()) host::Unsupported("RpcBindingFromStringBindingW", "options");
  const std::string endpoint = host::ToUtf8(parts->endpoint);
  if (!endpoint.empty() && !host::rpc::ValidEndpointName(endpoint)) return RPC_S_INVALID_ENDPOINT_FORMAT;
  *binding = new host::rpc::BindingHandle{std::make_shared<host::rpc::ClientBinding>(endpoint)};
  return RPC_S_OK;
}

RPC_STATUS RpcBindingFree(RPC_BINDING_HANDLE* binding) {
  if (binding == nullptr || *binding == nullptr) return RPC_S_INVALID_BINDING;
  delete static_cast<host::rpc::BindingHandle*>(*binding);
  *binding = nullptr;
  return RPC_S_OK;
}

void RpcSsDestroyClientContext(void** contextHandle) {
  delete static_cast<host::rpc::ClientContext*>(*contextHandle);
  *contextHandle = nullptr;
}
