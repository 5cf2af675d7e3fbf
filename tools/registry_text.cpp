#include "tools/registry_text.h"

#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"
#include "tools/registry_access.h"

namespace tool {
namespace {

using nlohmann::ordered_json;

std::string Dump(const ordered_json& object) {
  return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::optional<RegistryLine> ParseLine(const std::string& text) {
  try {
    const ordered_json object = ordered_json::parse(text);
    const auto path = ParseRegistryPath(object.at("key").get<std::string>());
    if (!path) return std::nullopt;
    RegistryLine line{*path, object.contains("name"), {}, {}};
    if (!line.hasValue) return line;
    const auto type = ParseType(object.at("type").get<std::string>());
    const auto value = type ? ParseValue(*type, object.at("data").get<std::vector<std::string>>()) : std::nullopt;
    if (!value) return std::nullopt;
    line.name = host::ToUtf16(object.at("name").get<std::string>());
    line.value = *value;
    if (line.name.find(u'\0') != WideString::npos) return std::nullopt;
    return line;
  } catch (const ordered_json::exception&) {
    return std::nullopt;
  }
}

// Names of the registry may hold half a surrogate pair, which no text can.
LSTATUS AppendName(std::string& text, const WideString& name) {
  const std::string utf8 = host::ToUtf8(name);
  text += utf8;
  return host::ToUtf16(utf8) == name ? ERROR_SUCCESS : ERROR_NO_UNICODE_TRANSLATION;
}

LSTATUS WriteKey(std::ostream& out, const std::string& path, REGSAM view, std::vector<WideString>* subKeys) {
  RegistryKey key;
  std::vector<RegistryKey::Named> values;
  LSTATUS status = key.Open(*ParseRegistryPath(path), KEY_READ | view);
  if (status == ERROR_SUCCESS) status = key.ReadAll(&values);
  if (status == ERROR_SUCCESS) status = key.SubKeys(subKeys);
  if (status != ERROR_SUCCESS) return status;
  out << Dump({{"key", path}}) << '\n';
  for (const auto& [wideName, value] : values) {
    std::string name;
    status = AppendName(name, wideName);
    if (status != ERROR_SUCCESS) return status;
    out << Dump({{"key", path}, {"name", name}, {"type", TypeName(value.type)}, {"data", ValueWords(value)}}) << '\n';
  }
  return ERROR_SUCCESS;
}

}  // namespace

LSTATUS WriteRegistryText(std::ostream& out, const std::string& path, REGSAM view) {
  std::vector<WideString> subKeys;
  LSTATUS status = WriteKey(out, path, view, &subKeys);
  for (std::size_t i = 0; status == ERROR_SUCCESS && i < subKeys.size(); ++i) {
    std::string below = path + '\\';
    status = AppendName(below, subKeys[i]);
    if (status == ERROR_SUCCESS) status = WriteRegistryText(out, below, view);
    if (status == ERROR_FILE_NOT_FOUND) status = ERROR_SUCCESS;  // deleted meanwhile
  }
  return status;
}

std::optional<std::vector<RegistryLine>> ReadRegistryText(std::istream& in, std::size_t* badLine) {
  std::vector<RegistryLine> lines;
  for (std::string text; std::getline(in, text);) {
    const auto line = ParseLine(text);
    *badLine = lines.size() + 1;
    if (!line) return std::nullopt;
    lines.push_back(*line);
  }
  return lines;
}

LSTATUS ApplyRegistryLine(const RegistryLine& line, REGSAM view) {
  RegistryKey key;
  const LSTATUS status = key.Create(line.path, KEY_ALL_ACCESS | view, false);
  return status == ERROR_SUCCESS && line.hasValue ? key.Write(line.name, line.value) : status;
}

}  // namespace tool
