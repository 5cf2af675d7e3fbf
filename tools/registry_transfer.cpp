// reg export, reg import.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"
#include "tools/exit_codes.h"
#include "tools/registry_access.h"
#include "tools/registry_commands.h"
#include "tools/report.h"

namespace tool {
namespace {

using nlohmann::ordered_json;

struct ImportedLine {
  RegistryPath path;
  bool hasValue = false;
  WideString name;
  RegistryValue value;
};

std::string Dump(const ordered_json& object) {
  return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

// Depth first, a key before its values and subkeys.
LSTATUS ExportKey(std::ostream& out, const std::string& path, REGSAM view) {
  std::vector<WideString> subKeys;
  {
    RegistryKey key;
    std::vector<RegistryKey::Named> values;
    LSTATUS status = key.Open(*ParseRegistryPath(path), KEY_READ | view);
    if (status == ERROR_SUCCESS) status = key.ReadAll(&values);
    if (status == ERROR_SUCCESS) status = key.SubKeys(&subKeys);
    if (status != ERROR_SUCCESS) return status;
    out << Dump({{"key", path}}) << '\n';
    for (const auto& [name, value] : values)
      out << Dump({{"key", path},
                   {"name", host::ToUtf8(name)},
                   {"type", TypeName(value.type)},
                   {"data", ValueWords(value)}})
          << '\n';
  }
  for (const WideString& name : subKeys) {
    const LSTATUS status = ExportKey(out, path + '\\' + host::ToUtf8(name), view);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) return status;  // deleted meanwhile
  }
  return ERROR_SUCCESS;
}

std::optional<ImportedLine> ParseLine(const std::string& text) {
  try {
    const ordered_json object = ordered_json::parse(text);
    const auto path = ParseRegistryPath(object.at("key").get<std::string>());
    if (!path) return std::nullopt;
    ImportedLine line{*path, object.contains("name"), {}, {}};
    if (!line.hasValue) return line;
    const auto type = ParseType(object.at("type").get<std::string>());
    const auto value = type ? ParseValue(*type, object.at("data").get<std::vector<std::string>>()) : std::nullopt;
    if (!value) return std::nullopt;
    line.name = host::ToUtf16(object.at("name").get<std::string>());
    line.value = *value;
    return line;
  } catch (const ordered_json::exception&) {
    return std::nullopt;
  }
}

LSTATUS Apply(const ImportedLine& line, REGSAM view) {
  RegistryKey key;
  const LSTATUS status = key.Create(line.path, KEY_ALL_ACCESS | view, false);
  return status == ERROR_SUCCESS && line.hasValue ? key.Write(line.name, line.value) : status;
}

}  // namespace

int ExportRegistry(const Options& options, const std::string& path, REGSAM view, const std::string& file) {
  // All of it is read before an existing file is touched.
  std::ostringstream text;
  const LSTATUS status = ExportKey(text, path, view);
  if (status != ERROR_SUCCESS) return ReportRegistry(options, "export " + path, status);
  std::ofstream target;
  if (!file.empty()) target.open(file, std::ios::trunc);
  std::ostream& out = file.empty() ? std::cout : target;
  out << text.str() << std::flush;
  return out ? kDone : Report(options, kFailed, {"export " + path, "not everything could be written", 0, ""});
}

int ImportRegistry(const Options& options, REGSAM view, const std::string& file) {
  const std::string tried = "import " + file;
  std::ifstream in(file);
  std::vector<ImportedLine> lines;
  for (std::string text; std::getline(in, text);) {
    const auto line = ParseLine(text);
    const std::string number = std::to_string(lines.size() + 1);
    if (!line)
      return Report(options, kFailed, {tried, "line " + number + " is not understood; nothing was written", 0, ""});
    lines.push_back(*line);
  }
  std::string error;
  if (!host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error))
    return Report(options, kFailed, {tried, error, 0, ""});
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const LSTATUS status = Apply(lines[i], view);
    if (status != ERROR_SUCCESS)
      return ReportRegistry(options, tried, status, "lines before line " + std::to_string(i + 1) + " were written");
  }
  return kDone;
}

}  // namespace tool
