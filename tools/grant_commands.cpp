// caps, allow: which packages may run commands as system, and which commands there are. Both tables lie in the device's
// software key; the service reads them at each call.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"
#include "tools/commands.h"
#include "tools/device_key.h"
#include "tools/device_numbers.h"
#include "tools/exit_codes.h"
#include "tools/grant_text.h"
#include "tools/registry_commands.h"
#include "tools/text_check.h"

namespace tool {
namespace {

using nlohmann::ordered_json;

// One of the two tables, in the words of its commands.
struct TableKind {
  const char* subKey;
  const char* rowName;  // of a row, in JSON
  const char* listed;   // how to see what is there
  std::string (*text)(const RegistryValue&);
};

constexpr TableKind kCapabilities = {kCapabilitySubKey, "package", "hkd04a7ctl caps list", GrantText};
constexpr TableKind kCommands = {kCommandSubKey, "id", "hkd04a7ctl allow list", CommandText};

void ShowRow(const Options& options, const TableKind& kind, const RegistryKey::Named& row) {
  const std::string name = host::ToUtf8(row.name);
  if (!options.json) {
    std::printf("  %-40s %s\n", name.c_str(), kind.text(row.value).c_str());
    return;
  }
  const ordered_json shown = {
      {kind.rowName, name}, {"type", TypeName(row.value.type)}, {"data", ValueWords(row.value)}};
  std::printf("%s\n", shown.dump(-1, ' ', false, ordered_json::error_handler_t::replace).c_str());
}

int ListTable(const Options& options, const TableKind& kind) {
  const std::string tried = std::string("list ") + kind.subKey;
  RegistryKey table;
  bool opened = false;
  if (int code = OpenDeviceTable(options, tried, kind.subKey, false, &table, &opened); code != kDone) return code;
  std::vector<RegistryKey::Named> rows;
  const LSTATUS status = opened ? table.ReadAll(&rows) : ERROR_SUCCESS;
  if (status != ERROR_SUCCESS) return ReportRegistry(options, tried, status);
  for (const RegistryKey::Named& row : rows) ShowRow(options, kind, row);
  return kDone;
}

int WriteRow(const Options& options, const TableKind& kind, const std::string& name, const RegistryValue& value) {
  const std::string tried = "write \"" + name + "\" into " + kind.subKey;
  RegistryKey table;
  bool opened = false;
  if (int code = OpenDeviceTable(options, tried, kind.subKey, true, &table, &opened); code != kDone) return code;
  const RegistryKey::Named row = {host::ToUtf16(name), value};
  const LSTATUS status = table.Write(row.name, row.value);
  if (status != ERROR_SUCCESS) return ReportRegistry(options, tried, status);
  ShowRow(options, kind, row);
  return kDone;
}

int RemoveRow(const Options& options, const TableKind& kind, const std::string& name) {
  const std::string tried = "remove \"" + name + "\" from " + kind.subKey;
  RegistryKey table;
  bool opened = false;
  if (int code = OpenDeviceTable(options, tried, kind.subKey, false, &table, &opened); code != kDone) return code;
  const LSTATUS status = opened ? table.DeleteValue(host::ToUtf16(name)) : ERROR_FILE_NOT_FOUND;
  return status == ERROR_SUCCESS ? kDone : ReportRegistry(options, tried, status, kind.listed);
}

CLI::Validator Name() {
  return CLI::Validator([](std::string& text) { return text.empty() ? "it is empty" : TextError(text); }, "");
}

CLI::Validator WholePath() {
  return CLI::Validator(
      [](std::string& text) {
        return text.starts_with('/') ? TextError(text) : "the program is given by its whole path: it is not searched";
      },
      "");
}

// `list` and the command that removes a row; what adds one is the caller's.
CLI::App* AddTable(CLI::App& app, Options& options, const char* name, const char* help, const TableKind& kind) {
  CLI::App* group = app.add_subcommand(name, help);
  group->require_subcommand(1);
  group->add_subcommand("list", "show the table")->callback([&options, &kind] {
    options.action = [&options, &kind] { return ListTable(options, kind); };
  });
  return group;
}

void AddRemoval(CLI::App* group, Options& options, const char* name, const TableKind& kind) {
  CLI::App* remove = group->add_subcommand(name, "take a row out; holds from the next call on");
  auto row = std::make_shared<std::string>();
  remove->add_option(kind.rowName, *row)->required()->check(Name());
  remove->callback(
      [&options, &kind, row] { options.action = [&options, &kind, row] { return RemoveRow(options, kind, *row); }; });
}

void AddGrant(CLI::App* caps, Options& options) {
  CLI::App* grant = caps->add_subcommand("grant", "give a package its capability bits");
  auto package = std::make_shared<std::string>();
  auto bits = std::make_shared<std::string>("1");
  grant->add_option("package", *package, "the package family name")->required()->check(Name());
  grant->add_option("bits", *bits, "1 (may run commands as system) unless given")->check(WordError);
  grant->callback([&options, package, bits] {
    options.action = [&options, package, bits] {
      return WriteRow(options, kCapabilities, *package, *ParseValue(REG_DWORD, {*bits}));
    };
  });
}

void AddAllow(CLI::App* allow, Options& options) {
  CLI::App* add = allow->add_subcommand("add", "let a command be run as system");
  auto id = std::make_shared<std::string>();
  auto words = std::make_shared<std::vector<std::string>>(2);
  add->add_option("id", *id, "the identifier that clients name")->required()->check(Name());
  add->add_option("program", words->at(0), "the program's whole path")->required()->check(WholePath());
  add->add_option("parameters", words->at(1),
                  "its fixed parameters, one text as on a command line; after -- if it "
                  "begins with a dash")
      ->check(TextError);
  add->callback([&options, id, words] {
    if (words->back().empty()) words->pop_back();
    options.action = [&options, id, words] {
      return WriteRow(options, kCommands, *id, *ParseValue(REG_MULTI_SZ, *words));
    };
  });
}

}  // namespace

void AddGrantCommands(CLI::App& app, Options& options) {
  CLI::App* caps = AddTable(app, options, "caps", "what packages may do beyond the open procedures", kCapabilities);
  AddGrant(caps, options);
  AddRemoval(caps, options, "revoke", kCapabilities);
  CLI::App* allow = AddTable(app, options, "allow", "the commands that may be run as system", kCommands);
  AddAllow(allow, options);
  AddRemoval(allow, options, "remove", kCommands);
}

}  // namespace tool
