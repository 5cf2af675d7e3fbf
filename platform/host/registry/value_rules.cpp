#include "platform/host/registry/value_rules.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"
#include "platform/host/registry/registry_constants.h"

namespace host::registry {
namespace {

bool IsString(DWORD type) {
  return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

bool EndsWithZero(const std::vector<BYTE>& data, std::size_t characters) {
  const std::size_t bytes = characters * 2;
  return data.size() >= bytes &&
         std::all_of(data.end() - static_cast<std::ptrdiff_t>(bytes), data.end(), [](BYTE byte) { return byte == 0; });
}

std::u16string TextOf(const std::vector<BYTE>& data) {
  std::u16string text(data.size() / 2, u'\0');
  std::memcpy(text.data(), data.data(), text.size() * 2);
  return text.substr(0, text.find(u'\0'));
}

std::optional<std::u16string> EnvironmentValue(std::u16string_view name) {
  for (char** entry = environ; entry && *entry; ++entry) {
    const std::u16string text = ToUtf16(*entry);
    const std::size_t equals = text.find(u'=');
    if (equals != std::u16string::npos && CompareNoCase(std::u16string_view(text).substr(0, equals), name) == 0) {
      return text.substr(equals + 1);
    }
  }
  return std::nullopt;
}

std::u16string Expand(std::u16string_view text) {
  std::u16string result;
  while (!text.empty()) {
    const std::size_t end = text.front() == u'%' ? text.find(u'%', 1) : std::u16string_view::npos;
    const auto value = end == std::u16string_view::npos ? std::nullopt : EnvironmentValue(text.substr(1, end - 1));
    result += value ? *value : std::u16string(1, text.front());
    text.remove_prefix(value ? end + 1 : 1);
  }
  return result;
}

}  // namespace

bool TypeAllowed(DWORD type, DWORD flags) {
  if ((flags & RRF_RT_ANY) == RRF_RT_ANY) return true;
  constexpr std::pair<DWORD, DWORD> kFilters[] = {
      {REG_NONE, RRF_RT_REG_NONE},     {REG_SZ, RRF_RT_REG_SZ},       {REG_EXPAND_SZ, RRF_RT_REG_EXPAND_SZ},
      {REG_BINARY, RRF_RT_REG_BINARY}, {REG_DWORD, RRF_RT_REG_DWORD}, {REG_MULTI_SZ, RRF_RT_REG_MULTI_SZ},
      {REG_QWORD, RRF_RT_REG_QWORD}};
  for (const auto& [filtered, flag] : kFilters) {
    if (filtered == type) return (flags & flag) != 0;
  }
  return false;
}

void Terminate(StoredValue* value) {
  if (!IsString(value->type)) return;
  std::vector<BYTE>& data = value->data;
  if (data.size() % 2 != 0) data.push_back(0);
  const std::size_t terminators = value->type == REG_MULTI_SZ ? 2 : 1;
  while (!EndsWithZero(data, terminators)) data.insert(data.end(), 2, 0);
}

void ExpandEnvironment(StoredValue* value) {
  std::u16string text = Expand(TextOf(value->data));
  text.push_back(u'\0');
  const auto* bytes = reinterpret_cast<const BYTE*>(text.data());
  value->type = REG_SZ;
  value->data.assign(bytes, bytes + text.size() * 2);
}

DWORD CopyData(const std::vector<BYTE>& value, void* data, DWORD* size) {
  if (!size) return ERROR_SUCCESS;
  const DWORD capacity = *size;
  *size = static_cast<DWORD>(value.size());
  if (!data) return ERROR_SUCCESS;
  if (capacity < value.size()) return ERROR_MORE_DATA;
  if (!value.empty()) std::memcpy(data, value.data(), value.size());
  return ERROR_SUCCESS;
}

DWORD CopyName(const std::u16string& name, char16_t* buffer, DWORD* length) {
  if (*length <= name.size()) return ERROR_MORE_DATA;
  std::memcpy(buffer, name.c_str(), (name.size() + 1) * 2);
  *length = static_cast<DWORD>(name.size());
  return ERROR_SUCCESS;
}

}  // namespace host::registry
