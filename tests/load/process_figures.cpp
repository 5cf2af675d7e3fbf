#include "tests/load/process_figures.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/host/base/process_stat.h"

namespace load {
namespace {

namespace fs = std::filesystem;

// The number that follows `label` at the beginning of a line of the file.
std::uint64_t NumberIn(const fs::path& path, const std::string& label) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);)
    if (line.starts_with(label)) return std::stoull(line.substr(label.size()));
  return 0;
}

bool IsArmedTimer(const fs::path& path) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);)
    if (line.starts_with("it_value:")) return line != "it_value: (0, 0)";
  return false;
}

}  // namespace

ProcessFigures FiguresOf(pid_t pid) {
  ProcessFigures figures;
  std::error_code ignored;
  const fs::path process = "/proc/" + std::to_string(pid);
  figures.privateKiB = NumberIn(process / "status", "RssAnon:");
  for (const auto& task : fs::directory_iterator(process / "task", ignored)) {
    ++figures.threads;
    figures.switches += NumberIn(task.path() / "status", "voluntary_ctxt_switches:") +
                        NumberIn(task.path() / "status", "nonvoluntary_ctxt_switches:");
    figures.cpuNs += NumberIn(task.path() / "schedstat", "");
  }
  for (const auto& descriptor : fs::directory_iterator(process / "fd", ignored)) {
    const bool isRegistry = fs::read_symlink(descriptor, ignored).filename().string().starts_with("registry");
    figures.descriptors += isRegistry ? 0 : 1;
    figures.armedTimers += IsArmedTimer(process / "fdinfo" / descriptor.path().filename()) ? 1 : 0;
  }
  return figures;
}

unsigned ZombiesBelow(pid_t pid) {
  unsigned zombies = 0;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator("/proc", ignored)) {
    const auto stat = host::ReadStatFile(entry.path() / "stat");
    if (!stat || stat->state != 'Z') continue;
    pid_t parent = stat->parent;
    while (parent > 1 && parent != pid) parent = host::ParentProcess(parent);
    zombies += parent == pid ? 1 : 0;
  }
  return zombies;
}

}  // namespace load
