#include "machine/descendants.h"

#include <dirent.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

namespace machine {

namespace {

struct ProcessLine {
  char state = 0;
  pid_t parent = 0;
};

bool ReadProcessLine(const std::string& pid, ProcessLine* process) {
  std::ifstream file("/proc/" + pid + "/stat");
  std::string line;
  if (!std::getline(file, line)) return false;
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string::npos || nameEnd + 4 > line.size()) return false;
  process->state = line[nameEnd + 2];
  process->parent = static_cast<pid_t>(std::strtol(line.c_str() + nameEnd + 4, nullptr, 10));
  return true;
}

std::multimap<pid_t, pid_t> ChildrenByParent() {
  std::multimap<pid_t, pid_t> children;
  DIR* const folder = opendir("/proc");
  if (folder == nullptr) return children;
  while (const dirent* entry = readdir(folder)) {
    const std::string name = entry->d_name;
    ProcessLine process;
    if (name.find_first_not_of("0123456789") != std::string::npos || !ReadProcessLine(name, &process)) continue;
    if (process.state != 'Z' && process.state != 'X') {
      children.emplace(process.parent, static_cast<pid_t>(std::strtol(name.c_str(), nullptr, 10)));
    }
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
