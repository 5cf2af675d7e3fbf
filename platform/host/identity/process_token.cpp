#include "platform/host/identity/process_token.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "platform/host/base/machine_directory.h"
#include "platform/host/base/process_stat.h"
#include "platform/host/identity/privileges.h"
#include "platform/host/identity/session_list.h"

namespace host {

using nlohmann::json;

namespace {

// This process's token, as far as it is known for good.
struct Own {
  std::mutex mutex;  // guards all below
  std::optional<TokenFacts> set;
  std::optional<TokenFacts> found;  // in the table of the machine in `runtime`
  std::string runtime;
};

Own& TheOwn() {
  static auto* own = new Own;  // outlives every thread of the process
  return *own;
}

// What looking for a token has come to. A row that is there and cannot be read must not pass for none: without a row a
// process counts as one from outside, which may say more than its row.
enum class Search { kFound, kNone, kFailed };

// Reads a file that is replaced as a whole and holds an object.
Search ReadObject(const std::string& path, json* object) {
  errno = 0;
  std::ifstream file(path);
  if (!file) return errno == ENOENT ? Search::kNone : Search::kFailed;
  *object = json::parse(file, nullptr, false);
  return object->is_object() ? Search::kFound : Search::kFailed;
}

// The row of `pid`, unless it is of an earlier process with the same number. `startTime` is 0 for a row only.
Search FindRow(pid_t pid, std::uint64_t startTime, TokenFacts* token) {
  json row;
  const Search read = ReadObject(CurrentMachineDirectory().runtime + "/processes/" + std::to_string(pid), &row);
  if (read != Search::kFound) return read;
  try {
    if (startTime != 0 && row.value("startTime", startTime) != startTime) return Search::kNone;
    ReadToken(row.at("token"), token);
    return Search::kFound;
  } catch (const json::exception&) {
    return Search::kFailed;
  }
}

// Whether the process of `stat` has the same parent as when that was read.
bool HasSameParent(pid_t pid, const ProcessStat& stat) {
  const auto again = ReadProcessStat(pid);
  return again && again->startTime == stat.startTime && again->parent == stat.parent;
}

// Whether `parent`, read by the number in `stat`, is the parent of `pid` and not a later process with that number.
bool IsStillParent(const ProcessStat& parent, pid_t pid, const ProcessStat& stat) {
  // A later one would have started after the parent's end.
  return parent.startTime < stat.startTime || HasSameParent(pid, stat);
}

// Whether the parent is another user's, whose processes the kernel does not show: it is none of this user's machine.
bool IsParentHidden(pid_t pid, const ProcessStat& stat) {
  return kill(stat.parent, 0) != 0 && errno == EPERM && HasSameParent(pid, stat);
}

// One walk upwards from a process. `*changed`: an ancestor ended meanwhile, so its children have another parent by now.
Search WalkUp(pid_t pid, ProcessStat stat, TokenFacts* token, bool* changed) {
  while (true) {
    const Search row = FindRow(pid, stat.startTime, token);
    if (row != Search::kNone || stat.parent <= 1) return row;
    const auto parent = ReadProcessStat(stat.parent);
    if (!parent && IsParentHidden(pid, stat)) return Search::kNone;
    *changed = !parent || !IsStillParent(*parent, pid, stat);
    if (*changed) return Search::kNone;
    pid = stat.parent;
    stat = *parent;
  }
}

// Ancestors that end under the eyes of the search begin it anew; one that is there and cannot be looked at must not
// make it endless.
constexpr int kMostWalks = 100;

// The token in the table of a living process or of its nearest ancestor there. kFailed when there is no such process.
Search FindInTable(pid_t pid, TokenFacts* token) {
  for (int walk = 0; walk < kMostWalks; ++walk) {
    const auto stat = ReadProcessStat(pid);
    if (!stat) break;
    bool changed = false;
    const Search search = WalkUp(pid, *stat, token, &changed);
    if (!changed) return search;
  }
  return Search::kFailed;
}

// A plain local account's, in session 0.
TokenFacts PlainToken() {
  TokenFacts token;
  token.userSid = kLocalServiceSid;
  return token;
}

}  // namespace

TokenFacts OutsideToken() {
  const auto list = PublishedSessions();
  const SessionRow* const console = list == nullptr ? nullptr : list->Find(list->console);
  return console == nullptr || console->sid.empty() ? PlainToken() : TokenFacts{console->sid, console->id};
}

std::optional<TokenFacts> TokenOfProcess(pid_t pid) {
  if (pid <= 0) return std::nullopt;
  TokenFacts token;
  if (pid >= kFirstRowOnly) {
    return FindRow(pid, 0, &token) == Search::kFound ? std::optional(token) : std::nullopt;
  }
  switch (FindInTable(pid, &token)) {
    case Search::kFound:
      return token;
    case Search::kNone:
      return OutsideToken();
    default:
      return std::nullopt;
  }
}

TokenFacts OwnToken() {
  Own& own = TheOwn();
  const std::lock_guard lock(own.mutex);
  if (own.set) return *own.set;
  const std::string runtime = CurrentMachineDirectory().runtime;
  if (own.found && own.runtime == runtime) return *own.found;
  TokenFacts token;
  const Search search = FindInTable(getpid(), &token);
  if (search != Search::kFound) return search == Search::kNone ? OutsideToken() : PlainToken();
  own.runtime = runtime;
  own.found = token;
  return token;
}

void SetOwnToken(std::optional<TokenFacts> facts) {
  Own& own = TheOwn();
  const std::lock_guard lock(own.mutex);
  own.set = std::move(facts);
  OwnPrivileges()->isTcbEnabled = false;
}

}  // namespace host
