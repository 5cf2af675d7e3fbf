#include "tools/program_path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

namespace tool {
namespace {

std::string WholePath(const std::filesystem::path& candidate) {
  struct stat found;
  const bool runnable =
      stat(candidate.c_str(), &found) == 0 && S_ISREG(found.st_mode) && access(candidate.c_str(), X_OK) == 0;
  std::error_code error;
  return runnable ? std::filesystem::absolute(candidate, error).string() : "";
}

}  // namespace

std::string FindProgram(const std::string& name, const std::string& searchPath) {
  if (name.empty() || name.find('/') != std::string::npos) return WholePath(name);
  std::istringstream folders(searchPath);
  for (std::string folder; std::getline(folders, folder, ':');) {
    std::string path = WholePath(std::filesystem::path(folder) / name);
    if (!path.empty()) return path;
  }
  return "";
}

}  // namespace tool
