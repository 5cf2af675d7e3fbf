// The environment of a user.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/kernel/memory.h"
#include "platform/host/processes/processes.h"
#include "platform/host/processes/token_object.h"
#include "platform/host/registry/key_access.h"
#include "platform/host/registry/value_rules.h"

namespace {

using nlohmann::json;

struct NameLess {
  bool operator()(const std::u16string& left, const std::u16string& right) const {
    return host::CompareNoCase(left, right) < 0;
  }
};
// A name keeps the letter case in which it came first.
using Variables = std::map<std::u16string, std::u16string, NameLess>;

constexpr const char16_t* kMachineKey = u"System\\CurrentControlSet\\Control\\Session Manager\\Environment";
constexpr const char16_t* kPath = u"/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
// Where the machine is, as CurrentMachineDirectory looks for it: the first, or without it the others.
constexpr const char* kMachineNames[] = {"HKD04A7_MACHINE", "XDG_RUNTIME_DIR", "XDG_STATE_HOME", "HOME", "TMPDIR"};

// What every program of the machine needs to run, and to find its machine.
void AddMachine(Variables* variables) {
  variables->insert_or_assign(u"PATH", kPath);
  for (const char* name : kMachineNames) {
    const char* value = std::getenv(name);
    if (!value) continue;
    variables->insert_or_assign(host::ToUtf16(name), host::ToUtf16(value));
    if (name == kMachineNames[0]) return;
  }
}

// The strings of one key; a key that is not there has none.
void AddKey(HKEY root, const std::u16string& subKey, Variables* variables) {
  using namespace host::registry;  // NOLINT: beneath the flat calls, which tests make fail on purpose
  KeyPath path;
  if (MakeKeyPath(root, subKey.c_str(), 0, 0, &path) != ERROR_SUCCESS) return;
  ReadAt(path, [&](Database& database, KeyId key) {
    NamedValue value;
    for (DWORD index = 0; ValueAt(database, key, index, &value) == ERROR_SUCCESS; ++index) {
      if (value.value.type != REG_SZ || value.name.empty() || value.name.find(u'=') != std::u16string::npos) continue;
      Terminate(&value.value);
      std::u16string text(value.value.data.size() / sizeof(char16_t), u'\0');
      std::memcpy(text.data(), value.value.data.data(), text.size() * sizeof(char16_t));
      variables->insert_or_assign(value.name, text.c_str());
    }
    return DWORD{ERROR_SUCCESS};
  });
}

// The account's name; empty for a SID that is none of the machine's accounts.
std::string UserName(const host::TokenFacts& token) {
  if (token.isSystem) return "SYSTEM";
  std::ifstream file(host::CurrentMachineDirectory().state + "/users.json");
  const json accounts = json::parse(file, nullptr, false);
  if (!accounts.is_object()) return {};
  try {
    const std::string prefix = accounts.value("machineSid", "") + "-";
    const json users = accounts.value("users", json::object());
    for (const auto& [name, relativeId] : users.items()) {
      if (prefix + relativeId.dump() == token.userSid) return name;
    }
  } catch (const json::exception&) {
    return {};  // not the machine's list
  }
  return {};
}

Variables VariablesOf(const host::TokenFacts& token) {
  Variables variables;
  AddMachine(&variables);
  AddKey(HKEY_LOCAL_MACHINE, kMachineKey, &variables);
  if (const std::string name = UserName(token); !name.empty()) {
    variables.insert_or_assign(u"USERNAME", host::ToUtf16(name));
  }
  AddKey(HKEY_USERS, host::ToUtf16(token.userSid) + u"\\Environment", &variables);
  return variables;
}

std::u16string BlockOf(const Variables& variables) {
  std::u16string block;
  for (const auto& [name, value] : variables) block.append(name).append(u"=").append(value).push_back(u'\0');
  return block;  // its own terminator is the last null
}

}  // namespace

BOOL CreateEnvironmentBlock(LPVOID* environment, HANDLE token, BOOL inherit) {
  if (const auto code = host::InjectedFailure("CreateEnvironmentBlock")) return host::FailWith(*code);
  if (inherit) host::Unsupported("CreateEnvironmentBlock", "bInherit");
  if (!token) host::Unsupported("CreateEnvironmentBlock", "hToken null");
  if (!environment) return host::FailWith(ERROR_INVALID_PARAMETER);
  const auto object = host::ObjectOf<host::TokenObject>(token, TOKEN_QUERY | TOKEN_DUPLICATE);
  if (!object) return FALSE;
  const std::u16string block = BlockOf(VariablesOf(object->Facts()));
  void* const memory = LocalAlloc(LMEM_FIXED, (block.size() + 1) * sizeof(char16_t));
  if (!memory) return FALSE;
  std::memcpy(memory, block.c_str(), (block.size() + 1) * sizeof(char16_t));
  *environment = memory;
  return TRUE;
}

BOOL DestroyEnvironmentBlock(LPVOID environment) {
  if (const auto code = host::InjectedFailure("DestroyEnvironmentBlock")) return host::FailWith(*code);
  if (!environment || LocalFree(environment)) return host::FailWith(ERROR_INVALID_PARAMETER);
  return TRUE;
}
