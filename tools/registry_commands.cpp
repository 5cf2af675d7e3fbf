// reg get, set, delete, list: single keys and values. The registry is read and written directly, whether or not the
// machine is up.
#include "tools/registry_commands.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"
#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/printable.h"
#include "tools/registry_access.h"
#include "tools/report.h"

namespace tool {
namespace {

struct RegistryRequest {
  int view = 64;
  std::string path;
  std::string name;
  bool named = false;
  std::string type = "sz";
  std::vector<std::string> words;
  bool isVolatile = false;
  bool tree = false;
  std::string file;

  REGSAM View() const { return view == 32 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY; }
  RegistryPath Path() const { return *ParseRegistryPath(path); }
};

using Action = int (*)(const Options&, const RegistryRequest&);

std::string TypedText(const RegistryValue& value) {
  std::string text = TypeName(value.type);
  for (const std::string& word : ValueWords(value))
    text += (value.type == REG_MULTI_SZ ? "\n      " : " ") + Printable(word);
  return text;
}

void ShowValue(const Options& options, const std::string& name, const RegistryValue& value) {
  if (options.json) {
    const nlohmann::ordered_json shown = {{"name", name}, {"type", TypeName(value.type)}, {"data", ValueWords(value)}};
    std::printf("%s\n", shown.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
  } else {
    std::printf("  %-32s %s\n", name.empty() ? "(default)" : Printable(name).c_str(), TypedText(value).c_str());
  }
}

int Get(const Options& options, const RegistryRequest& request) {
  RegistryKey key;
  RegistryValue value;
  LSTATUS status = key.Open(request.Path(), KEY_READ | request.View());
  if (status == ERROR_SUCCESS) status = key.Read(host::ToUtf16(request.name), &value);
  if (status != ERROR_SUCCESS)
    return ReportRegistry(options, "read \"" + request.name + "\" of " + request.path, status);
  ShowValue(options, request.name, value);
  return kDone;
}

int Set(const Options& options, const RegistryRequest& request) {
  const std::string tried = "set \"" + request.name + "\" of " + request.path;
  std::string error;
  if (!host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error))
    return Report(options, kFailed, {tried, error, 0, ""});
  const auto value = ParseValue(*ParseType(request.type), request.words);
  RegistryKey key;
  LSTATUS status = key.Create(request.Path(), KEY_ALL_ACCESS | request.View(), request.isVolatile);
  if (status == ERROR_SUCCESS) status = key.Write(host::ToUtf16(request.name), *value);
  return status == ERROR_SUCCESS ? kDone : ReportRegistry(options, tried, status);
}

int Delete(const Options& options, const RegistryRequest& request) {
  const RegistryPath path = request.Path();
  if (!request.named && path.subKey.empty())
    return Report(options, kFailed, {"delete " + request.path, "it is the root of a hive", 0, "name a key below it"});
  LSTATUS status;
  if (request.named) {
    RegistryKey key;
    status = key.Open(path, KEY_ALL_ACCESS | request.View());
    if (status == ERROR_SUCCESS) status = key.DeleteValue(host::ToUtf16(request.name));
  } else if (request.tree) {
    status = DeleteTree(path, request.View());
  } else {
    status = RegDeleteKeyExW(path.root, path.subKey.c_str(), request.View(), 0);
  }
  if (status == ERROR_SUCCESS) return kDone;
  const char* next = status == ERROR_ACCESS_DENIED ? "a key with subkeys goes only with --tree" : "hkd04a7ctl reg list";
  return ReportRegistry(options, "delete from " + request.path, status, next);
}

int List(const Options& options, const RegistryRequest& request) {
  RegistryKey key;
  std::vector<RegistryKey::Named> values;
  std::vector<WideString> subKeys;
  LSTATUS status = key.Open(request.Path(), KEY_READ | request.View());
  if (status == ERROR_SUCCESS) status = key.ReadAll(&values);
  if (status == ERROR_SUCCESS) status = key.SubKeys(&subKeys);
  if (status != ERROR_SUCCESS) return ReportRegistry(options, "list " + request.path, status);
  for (const auto& value : values) ShowValue(options, host::ToUtf8(value.name), value.value);
  for (const WideString& name : subKeys) {
    const std::string text = host::ToUtf8(name);
    if (options.json)
      std::printf("%s\n", nlohmann::json{{"key", text}}.dump().c_str());
    else
      std::printf("  [%s]\n", Printable(text).c_str());
  }
  return kDone;
}

int Export(const Options& options, const RegistryRequest& request) {
  return ExportRegistry(options, request.path, request.View(), request.file);
}

int Import(const Options& options, const RegistryRequest& request) {
  return ImportRegistry(options, request.View(), request.file);
}

CLI::Validator PathValidator() {
  return CLI::Validator(
      [](std::string& text) {
        return ParseRegistryPath(text) ? std::string() : "not a path below HKLM, HKCU or HKU: " + text;
      },
      "KEY");
}

// One command under `reg`; the arguments are added by the caller.
CLI::App* AddAction(CLI::App* reg, Options& options, const std::shared_ptr<RegistryRequest>& request, const char* name,
                    const char* help, Action action) {
  CLI::App* command = reg->add_subcommand(name, help);
  command->callback([&options, request, action] {
    options.action = [&options, request, action] { return action(options, *request); };
  });
  return command;
}

void AddPath(CLI::App* command, RegistryRequest& request) {
  command->add_option("key", request.path, "HKLM\\..., HKCU\\... or HKU\\...")->required()->check(PathValidator());
}

void AddSet(CLI::App* reg, Options& options, const std::shared_ptr<RegistryRequest>& request) {
  CLI::App* set = AddAction(reg, options, request, "set", "write a value, making its key where it is missing", Set);
  AddPath(set, *request);
  set->add_option("name", request->name, "the value's name; \"\" is the default value")->required();
  set->add_option("data", request->words, "the value, several for multi; hex:... gives the bytes of any type");
  set->add_option("--type", request->type, "sz, expand, multi, dword, qword, binary, none, or a number");
  set->add_flag("--volatile", request->isVolatile, "make a missing key volatile: it goes at the next boot");
  set->callback([&options, request] {
    const auto type = ParseType(request->type);
    if (!type) throw CLI::ValidationError("--type", "not a type: " + request->type);
    if (!ParseValue(*type, request->words)) throw CLI::ValidationError("data", "not a " + request->type);
    options.action = [&options, request] { return Set(options, *request); };
  });
}

}  // namespace

int ReportRegistry(const Options& options, const std::string& tried, LSTATUS status, const std::string& next) {
  return Report(options, kFailed, {tried, "the registry", static_cast<std::uint32_t>(status), next});
}

// The key itself goes too.
LSTATUS DeleteTree(const RegistryPath& path, REGSAM view) {
  LSTATUS status;
  {
    RegistryKey key;
    status = key.Open(path, KEY_ALL_ACCESS | view);
    if (status == ERROR_SUCCESS) status = key.DeleteEverything();
  }
  return status == ERROR_SUCCESS ? RegDeleteKeyExW(path.root, path.subKey.c_str(), view, 0) : status;
}

void AddRegistryCommands(CLI::App& app, Options& options) {
  auto request = std::make_shared<RegistryRequest>();
  CLI::App* reg = app.add_subcommand("reg", "look at and change the machine's registry");
  reg->require_subcommand(1);
  reg->add_option("--view", request->view, "the 32-bit or the 64-bit view")->check(CLI::IsMember({32, 64}));

  CLI::App* get = AddAction(reg, options, request, "get", "show one value", Get);
  AddPath(get, *request);
  get->add_option("name", request->name, "the value's name; left out: the default value");
  AddSet(reg, options, request);
  CLI::App* remove = AddAction(reg, options, request, "delete", "delete a value, or a key", Delete);
  AddPath(remove, *request);
  remove->add_option_function<std::string>(
      "name",
      [request](const std::string& name) {
        request->name = name;
        request->named = true;
      },
      "the value's name; left out: the key itself");
  remove->add_flag("--tree", request->tree, "with everything below it");
  AddPath(AddAction(reg, options, request, "list", "show a key's values and subkeys", List), *request);
  CLI::App* exports =
      AddAction(reg, options, request, "export", "write a key and all below it, one object a line", Export);
  AddPath(exports, *request);
  exports->add_option("file", request->file, "left out: standard output");
  CLI::App* import = AddAction(reg, options, request, "import", "read what export wrote", Import);
  import->add_option("file", request->file)->required()->check(CLI::ExistingFile);
}

}  // namespace tool
