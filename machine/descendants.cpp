#include "machine/descendants.h"

#include <dirent.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <optional>

#include "platform/host/base/process_stat.h"

namespace machine {

namespace {

// How often what has started meanwhile is looked for: enough for all but a program that does nothing else.
constexpr int kRounds = 100;

std::multimap<pid_t, pid_t> ChildrenByParent() {
  std::multimap<pid_t, pid_t> children;
  DIR* const folder = opendir("/proc");
  if (folder == nullptr) return children;
  while (const dirent* entry = readdir(folder)) {
    const auto pid = static_cast<pid_t>(std::strtol(entry->d_name, nullptr, 10));
    const auto process = pid > 0 ? host::ReadProcessStat(pid) : std::nullopt;
    if (process && process->state != 'Z' && process->state != 'X') children.emplace(process->parent, pid);
  }
  closedir(folder);
  return children;
}

}  // namespace

std::vector<pid_t> Descendants(const std::set<pid_t>& spared) {
  const auto children = ChildrenByParent();
  std::vector<pid_t> found;
  std::vector<pid_t> open = {getpid()};
  while (!open.empty()) {
    const auto [first, last] = children.equal_range(open.back());
    open.pop_back();
    for (auto child = first; child != last; ++child) {
      if (spared.contains(child->second)) continue;
      found.push_back(child->second);
      open.push_back(child->second);
    }
  }
  return found;
}

void EndAllBut(const std::set<pid_t>& spared) {
  for (int round = 0; round < kRounds; ++round) {
    const std::vector<pid_t> left = Descendants(spared);
    for (const pid_t pid : left) kill(pid, SIGKILL);
    for (const pid_t pid : left) waitpid(pid, nullptr, 0);  // its children are this process's from then on
    if (left.empty()) break;
  }
  while (waitpid(-1, nullptr, WNOHANG) > 0) continue;  // what ended before it was looked for
}

}  // namespace machine
