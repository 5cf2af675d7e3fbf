#include "platform/host/kernel/executable_path.h"

#include <filesystem>
#include <mutex>
#include <system_error>

#include "platform/host/base/text.h"
#include "platform/host/kernel/system_modules.h"

namespace host {
namespace {

struct ChosenPath {
  std::mutex mutex;
  std::u16string path;  // guarded by mutex
};

// Never destroyed: threads may still ask while the process ends.
ChosenPath& Chosen() {
  static auto* chosen = new ChosenPath;
  return *chosen;
}

}  // namespace

std::u16string ExecutablePath() {
  {
    std::lock_guard lock(Chosen().mutex);
    if (!Chosen().path.empty()) return Chosen().path;
  }
  std::error_code error;
  const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::u16string() : ToUtf16(path.string());
}

void SetExecutablePath(std::u16string_view path) {
  std::lock_guard lock(Chosen().mutex);
  Chosen().path = path;
}

}  // namespace host
