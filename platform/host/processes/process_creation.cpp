// Starting a program with another token.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/journal.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/processes/effective_token.h"
#include "platform/host/processes/process_object.h"
#include "platform/host/processes/processes.h"

extern char** environ;

namespace {

using nlohmann::json;

constexpr std::size_t kLongestCommandLine = 32767;  // characters, with the terminator
constexpr DWORD kTokenRights = TOKEN_QUERY | TOKEN_DUPLICATE | TOKEN_ASSIGN_PRIMARY;
constexpr DWORD kThreadAllAccess = STANDARD_RIGHTS_ALL | 0xFFFF;

// The first thread of a started program; it lasts as long as the program, as far as anybody can tell from outside.
class ProgramThread : public host::KernelObject {
 public:
  explicit ProgramThread(std::shared_ptr<host::ProcessObject> process) : process_(std::move(process)) {}
  const char* Kind() const override { return "thread"; }
  DWORD Wait(const host::Deadline& deadline) override { return process_->Wait(deadline); }

 private:
  const std::shared_ptr<host::ProcessObject> process_;
};

[[noreturn]] void Unsupported(const char* argument) {
  host::Unsupported("CreateProcessAsUserW", argument);
}

void RefuseUnsupported(DWORD flags, const STARTUPINFOW& startup) {
  constexpr DWORD kAlways = CREATE_NEW_CONSOLE | CREATE_UNICODE_ENVIRONMENT;
  if (flags != (kAlways | NORMAL_PRIORITY_CLASS) && flags != (kAlways | BELOW_NORMAL_PRIORITY_CLASS)) {
    Unsupported("dwCreationFlags");
  }
  if (startup.cb != sizeof(startup)) Unsupported("lpStartupInfo->cb");
  if (startup.lpReserved || startup.lpDesktop || startup.lpTitle) Unsupported("lpStartupInfo with texts");
  if (startup.dwFlags != 0 || startup.cbReserved2 != 0 || startup.lpReserved2) Unsupported("lpStartupInfo->dwFlags");
}

// A path of the host, from the current directory if it is relative.
std::string WholePath(LPCWSTR path) {
  std::string text = host::ToUtf8(path);
  std::replace(text.begin(), text.end(), '\\', '/');
  std::error_code ignored;
  return std::filesystem::absolute(text, ignored).lexically_normal();
}

std::string CurrentDirectory() {
  std::error_code ignored;
  return std::filesystem::current_path(ignored);
}

json EnvironmentLines(const void* block) {
  std::vector<std::string> lines;
  if (!block) {
    for (char** line = environ; *line; ++line) lines.emplace_back(*line);
    return lines;
  }
  for (auto* text = static_cast<const WCHAR*>(block); *text;) {
    const std::u16string_view line(text);
    lines.push_back(host::ToUtf8(line));
    text += line.size() + 1;
  }
  return lines;
}

void Give(std::shared_ptr<host::ProcessObject> process, DWORD pid, PROCESS_INFORMATION* information) {
  const auto thread = std::make_shared<ProgramThread>(process);
  information->hProcess = host::OpenHandle(std::move(process), PROCESS_ALL_ACCESS);
  information->hThread = host::OpenHandle(thread, kThreadAllAccess);
  information->dwProcessId = pid;
  information->dwThreadId = pid;  // the first thread has the process's number
}

// Asks the daemon to start the program; 0 with its handles.
DWORD Start(json request, const host::TokenFacts& token, PROCESS_INFORMATION* information) {
  request["op"] = "process.run";
  request["identity"] = ToJson(token);
  json reply;
  if (const DWORD code = host::MachineLink::Instance().Call(std::move(request), &reply)) return code;
  const auto pid = reply.at("pid").get<pid_t>();
  Give(std::make_shared<host::ProcessObject>(pid, reply.at("startTime").get<std::uint64_t>(), token,
                                             host::ProcessObject::Origin::kMachine),
       static_cast<DWORD>(pid), information);
  return ERROR_SUCCESS;
}

}  // namespace

BOOL CreateProcessAsUserW(HANDLE token, LPCWSTR application, LPWSTR commandLine,
                          LPSECURITY_ATTRIBUTES processAttributes, LPSECURITY_ATTRIBUTES threadAttributes,
                          BOOL inheritHandles, DWORD flags, LPVOID environment, LPCWSTR directory,
                          LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information) {
  if (const auto code = host::InjectedFailure("CreateProcessAsUserW")) return host::FailWith(*code);
  if (!application || !*application) Unsupported("lpApplicationName null");
  if (processAttributes || threadAttributes) Unsupported("attributes not null");
  if (inheritHandles) Unsupported("bInheritHandles");
  if (!startup || !information) return host::FailWith(ERROR_INVALID_PARAMETER);
  RefuseUnsupported(flags, *startup);
  const auto object = host::ObjectOf<host::TokenObject>(token, kTokenRights);
  if (!object) return FALSE;
  if (object->Type() != TokenPrimary) return host::FailWith(ERROR_BAD_TOKEN_TYPE);
  if (!host::EffectiveToken().isSystem) return host::FailWith(ERROR_PRIVILEGE_NOT_HELD);
  const std::u16string line = commandLine ? commandLine : u"\"" + std::u16string(application) + u"\"";
  if (line.size() >= kLongestCommandLine) return host::FailWith(ERROR_FILENAME_EXCED_RANGE);
  const json request = {{"program", WholePath(application)},
                        {"commandLine", host::ToUtf8(line)},
                        {"environment", EnvironmentLines(environment)},
                        {"directory", directory ? WholePath(directory) : CurrentDirectory()},
                        {"belowNormal", (flags & BELOW_NORMAL_PRIORITY_CLASS) != 0}};
  const host::JournalEntry entry;
  const DWORD code = Start(request, object->Facts(), information);
  if (entry.IsWanted()) entry.Write("process", host::ToUtf8(line));
  return code == ERROR_SUCCESS ? TRUE : host::FailWith(code);
}
