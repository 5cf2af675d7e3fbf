#include "tools/doctor_registry.h"

#include <algorithm>
#include <filesystem>

#include "platform/errors.h"
#include "tools/doctor_names.h"
#include "tools/software_key.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

// A key that is missing, or deleted while it is read, is an empty one.
class Reader {
 public:
  KeyTree Tree(const RegistryPath& path, REGSAM view, int depth) {
    KeyTree tree;
    std::vector<WideString> names;
    {
      RegistryKey key;
      if (!Take(key.Open(path, KEY_READ | view), path) || !Take(key.ReadAll(&tree.values), path)) return tree;
      if (depth > 0 && !Take(key.SubKeys(&names), path)) return tree;
    }
    for (const WideString& name : names) {
      tree.subKeys.push_back(Tree({path.root, path.subKey + W('\\') + name}, view, depth - 1));
      tree.subKeys.back().name = name;
    }
    return tree;
  }

  std::vector<RegistryKey::Named> Values(const RegistryPath& path) { return Tree(path, KEY_WOW64_64KEY, 0).values; }

  std::vector<WideString> SubKeys(const RegistryPath& path) {
    RegistryKey key;
    std::vector<WideString> names;
    if (Take(key.Open(path, KEY_READ), path)) Take(key.SubKeys(&names), path);
    return names;
  }

  LSTATUS failure() const { return failure_; }
  const std::string& where() const { return where_; }

 private:
  // True when there is something to go on with. The first failure is kept.
  bool Take(LSTATUS status, const RegistryPath& path) {
    const bool missing = status == ERROR_FILE_NOT_FOUND || status == ERROR_KEY_DELETED;
    if (status != ERROR_SUCCESS && !missing && failure_ == ERROR_SUCCESS) {
      failure_ = status;
      where_ = ToNarrow(path.subKey);
    }
    return status == ERROR_SUCCESS;
  }

  LSTATUS failure_ = ERROR_SUCCESS;
  std::string where_;
};

RegistryPath PathOf(const std::string& text) {
  return *ParseRegistryPath(text);
}

bool IsUser(const WideString& hive) {
  return hive.starts_with(W("S-")) && !hive.ends_with(W("_Classes"));
}

void ReadUsers(Reader& reader, RegistrySnapshot* snapshot) {
  for (const WideString& hive : reader.SubKeys({HKEY_USERS, {}})) {
    const WideString path = hive + W('\\') + ToWide(kRegistrationsSubKey);
    if (IsUser(hive)) snapshot->users.push_back({ToNarrow(hive), reader.Tree({HKEY_USERS, path}, KEY_WOW64_64KEY, 2)});
  }
}

AllowedProgram ReadCommandEntry(const RegistryKey::Named& entry) {
  AllowedProgram command = {entry, "", false};
  if (entry.value.type == REG_MULTI_SZ) command.program = ToNarrow(FirstText(entry.value));
  command.programExists = ProgramExists(command.program);
  return command;
}

void ReadDeviceTables(Reader& reader, RegistrySnapshot* snapshot) {
  const std::optional<WideString> key = FindSoftwareKey();
  if (!key) return;
  snapshot->softwareKey = "HKLM\\" + ToNarrow(*key);
  snapshot->capabilities = reader.Values(PathOf(snapshot->softwareKey + '\\' + kCapabilitySubKey));
  for (const RegistryKey::Named& entry : reader.Values(PathOf(snapshot->softwareKey + '\\' + kCommandSubKey)))
    snapshot->commands.push_back(ReadCommandEntry(entry));
}

}  // namespace

bool ProgramExists(const std::string& program) {
  std::string path = program;
  std::replace(path.begin(), path.end(), '\\', '/');
  std::error_code error;
  return std::filesystem::is_regular_file(std::filesystem::path(ToWide(path)), error);
}

LSTATUS TakeRegistry(RegistrySnapshot* snapshot, std::string* where) {
  Reader reader;
  snapshot->product = reader.Values(PathOf(kProductKey));
  for (const int view : {64, 32}) {
    const REGSAM flag = view == 32 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
    snapshot->handlers.push_back({view, reader.Tree(PathOf(kEventsKey), flag, 2)});
  }
  snapshot->utility = reader.Values(PathOf(kUtilityKey));
  ReadUsers(reader, snapshot);
  ReadDeviceTables(reader, snapshot);
  *where = reader.where();
  return reader.failure();
}

}  // namespace tool::doctor
