#include "machine/descendants.h"

#include <dirent.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <optional>

#include "platform/host/base/process_stat.h"

namespace machine {

namespace {

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

std::vector<pid_t> Descendants() {
  const auto children = ChildrenByParent();
  std::vector<pid_t> found;
  std::vector<pid_t> open = {getpid()};
  while (!open.empty()) {
    const auto [first, last] = children.equal_range(open.back());
    open.pop_back();
    for (auto child = first; child != last; ++child) {
      found.push_back(child->second);
      open.push_back(child->second);
    }
  }
  return found;
}

}  // namespace machine
