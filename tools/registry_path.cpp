#include "tools/registry_path.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "platform/host/base/text.h"

namespace tool {
namespace {

constexpr std::string_view kHexPrefix = "hex:";

struct RootName {
  std::string_view name;
  HKEY root;
};

struct NamedType {
  std::string_view name;
  DWORD type;
};

constexpr NamedType kTypes[] = {{"none", REG_NONE},     {"sz", REG_SZ},       {"expand", REG_EXPAND_SZ},
                                {"binary", REG_BINARY}, {"dword", REG_DWORD}, {"multi", REG_MULTI_SZ},
                                {"qword", REG_QWORD}};

std::optional<HKEY> ParseRoot(std::string_view text) {
  const RootName roots[] = {{"HKLM", HKEY_LOCAL_MACHINE}, {"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
                            {"HKCU", HKEY_CURRENT_USER},  {"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
                            {"HKU", HKEY_USERS},          {"HKEY_USERS", HKEY_USERS}};
  for (const RootName& root : roots)
    if (host::CompareNoCase(host::ToUtf16(text), host::ToUtf16(root.name)) == 0) return root.root;
  return std::nullopt;
}

template <typename Number>
std::optional<RegistryValue> ParseNumber(DWORD type, std::string_view text) {
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  Number number = 0;
  const char* end = text.data() + text.size();
  auto [rest, error] = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
  if (error != std::errc() || rest != end) return std::nullopt;
  RegistryValue value{type, std::vector<BYTE>(sizeof number)};
  std::memcpy(value.data.data(), &number, sizeof number);
  return value;
}

template <typename Number>
std::string NumberText(const std::vector<BYTE>& data) {
  Number number;
  std::memcpy(&number, data.data(), sizeof number);
  char digits[24];
  auto end = std::to_chars(digits, digits + sizeof digits, number, 16).ptr;
  std::string text(digits, end);
  return "0x" + std::string(sizeof number * 2 - text.size(), '0') + text;
}

std::optional<std::vector<BYTE>> ParseHex(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  std::vector<BYTE> data;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    unsigned byte = 0;
    auto [rest, error] = std::from_chars(text.data() + i, text.data() + i + 2, byte, 16);
    if (error != std::errc() || rest != text.data() + i + 2) return std::nullopt;
    data.push_back(static_cast<BYTE>(byte));
  }
  return data;
}

std::string HexText(const std::vector<BYTE>& data) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const BYTE byte : data) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

void AppendText(std::vector<BYTE>& data, std::string_view text) {
  const WideString wide = host::ToUtf16(text);
  const auto* bytes = reinterpret_cast<const BYTE*>(wide.c_str());
  data.insert(data.end(), bytes, bytes + (wide.size() + 1) * sizeof(WCHAR));
}

// A string inside a multi-string cannot be empty: an empty one ends the list.
std::optional<RegistryValue> ParseMulti(const std::vector<std::string>& words) {
  RegistryValue value{REG_MULTI_SZ, {}};
  for (const std::string& word : words) {
    if (word.empty()) return std::nullopt;
    AppendText(value.data, word);
  }
  value.data.insert(value.data.end(), sizeof(WCHAR), 0);
  return value;
}

std::vector<std::string> MultiWords(const std::vector<BYTE>& data) {
  const WideString text(reinterpret_cast<const WCHAR*>(data.data()), data.size() / sizeof(WCHAR));
  std::vector<std::string> words;
  for (std::size_t begin = 0, end; begin < text.size(); begin = end + 1) {
    end = std::min(text.find(u'\0', begin), text.size());
    if (end != begin) words.push_back(host::ToUtf8(WideStringView(text).substr(begin, end - begin)));
  }
  return words;
}

std::vector<std::string> PlainWords(const RegistryValue& value) {
  switch (value.type) {
    case REG_DWORD:
      return value.data.size() == sizeof(DWORD) ? std::vector{NumberText<DWORD>(value.data)}
                                                : std::vector<std::string>();
    case REG_QWORD:
      return value.data.size() == sizeof(ULONG64) ? std::vector{NumberText<ULONG64>(value.data)}
                                                  : std::vector<std::string>();
    case REG_SZ:
    case REG_EXPAND_SZ: {
      const std::size_t length = value.data.size() / sizeof(WCHAR);
      const WideStringView text(reinterpret_cast<const WCHAR*>(value.data.data()), length);
      return length == 0 ? std::vector<std::string>() : std::vector{host::ToUtf8(text.substr(0, length - 1))};
    }
    case REG_MULTI_SZ:
      return MultiWords(value.data);
    default:
      return {HexText(value.data)};
  }
}

}  // namespace

std::optional<RegistryPath> ParseRegistryPath(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  std::string path(text);
  if (path.find('\\') == std::string::npos) std::replace(path.begin(), path.end(), '/', '\\');
  while (path.ends_with('\\')) path.pop_back();
  const std::size_t separator = path.find('\\');
  const auto root = ParseRoot(std::string_view(path).substr(0, separator));
  if (!root) return std::nullopt;
  return RegistryPath{*root, separator == std::string::npos ? WideString() : host::ToUtf16(path.substr(separator + 1))};
}

std::string TypeName(DWORD type) {
  for (const NamedType& named : kTypes)
    if (named.type == type) return std::string(named.name);
  return std::to_string(type);
}

std::optional<DWORD> ParseType(std::string_view name) {
  for (const NamedType& named : kTypes)
    if (named.name == name) return named.type;
  DWORD number = 0;
  auto [rest, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  if (error != std::errc() || rest != name.data() + name.size()) return std::nullopt;
  return number;
}

std::optional<RegistryValue> ParseValue(DWORD type, const std::vector<std::string>& words) {
  if (words.size() == 1 && words[0].starts_with(kHexPrefix)) {
    const auto data = ParseHex(std::string_view(words[0]).substr(kHexPrefix.size()));
    return data ? std::optional(RegistryValue{type, *data}) : std::nullopt;
  }
  if (type == REG_MULTI_SZ) return ParseMulti(words);
  if (words.size() != 1) return std::nullopt;
  if (type == REG_DWORD) return ParseNumber<DWORD>(type, words[0]);
  if (type == REG_QWORD) return ParseNumber<ULONG64>(type, words[0]);
  RegistryValue value{type, {}};
  if (type == REG_SZ || type == REG_EXPAND_SZ) {
    if (words[0].find('\0') != std::string::npos) return std::nullopt;
    AppendText(value.data, words[0]);
    return value;
  }
  const auto data = ParseHex(words[0]);
  return data ? std::optional(RegistryValue{type, *data}) : std::nullopt;
}

std::vector<std::string> ValueWords(const RegistryValue& value) {
  std::vector<std::string> words = PlainWords(value);
  if (ParseValue(value.type, words) == value) return words;
  return {std::string(kHexPrefix) + HexText(value.data)};
}

}  // namespace tool
