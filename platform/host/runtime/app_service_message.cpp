#include "platform/host/runtime/app_service_message.h"

#include <limits>
#include <nlohmann/json.hpp>

#include "platform/host/base/json_text.h"
#include "platform/host/base/text.h"
#include "platform/host/link/app_service_frames.h"
#include "platform/host/runtime/property_value.h"

namespace host::runtime {

using nlohmann::json;

namespace {

// Boxed values are this layer's own objects.
std::optional<UINT32> UnboxUInt32(IInspectable* boxed) {
  auto* const value = dynamic_cast<Runtime::IPropertyValue*>(boxed);
  UINT32 number = 0;
  if (!value || FAILED(value->GetUInt32(&number))) return std::nullopt;
  return number;
}

std::optional<UINT32> ReadUInt32(const json& value) {
  if (!value.is_object() || value.value("type", json()) != kAppServiceUInt32) return std::nullopt;
  const json number = value.value("value", json());
  if (!number.is_number_unsigned() || number > std::numeric_limits<UINT32>::max()) return std::nullopt;
  return number.get<UINT32>();
}

bool Put(ValueSet& set, const std::string& key, IInspectable* value) {
  const std::u16string text = ToUtf16(key);
  HSTRING_HEADER header;
  HSTRING name = nullptr;
  boolean replaced = FALSE;
  return SUCCEEDED(WindowsCreateStringReference(text.c_str(), static_cast<UINT32>(text.size()), &header, &name)) &&
         SUCCEEDED(set.Insert(name, value, &replaced));
}

// Null when `message` is none.
Reference<ValueSet> ReadMessage(const json& message) {
  if (!message.is_object()) return {};
  auto set = Make<ValueSet>();
  for (const auto& [key, value] : message.items()) {
    const auto number = ReadUInt32(value);
    if (!number || !Put(*set.Get(), key, BoxUInt32(*number).Get())) return {};
  }
  return set;
}

}  // namespace

// By hand: the library's values end the process when memory is short while they are taken apart.
std::optional<std::string> EncodeRequest(std::uint64_t id, const ValueSet& message) {
  std::string values;
  for (const auto& [key, boxed] : message.Entries()) {
    const auto number = UnboxUInt32(boxed.Get());
    if (!number) return std::nullopt;
    if (!values.empty()) values += ',';
    values +=
        JsonText(ToUtf8(key)) + ":{\"type\":\"" + kAppServiceUInt32 + "\",\"value\":" + std::to_string(*number) + '}';
  }
  return "{\"id\":" + std::to_string(id) + ",\"message\":{" + values + "}}";
}

std::optional<DecodedAnswer> DecodeAnswer(const std::string& payload) {
  const json answer = json::parse(payload, nullptr, false);
  if (!answer.is_object() || answer.value("status", json()) != kAppServiceSuccess) return std::nullopt;
  const json id = answer.value("id", json());
  if (!id.is_number_unsigned()) return std::nullopt;
  DecodedAnswer decoded{id.get<std::uint64_t>(), ReadMessage(answer.value("message", json()))};
  if (!decoded.message) return std::nullopt;
  return decoded;
}

}  // namespace host::runtime
