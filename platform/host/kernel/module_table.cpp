#include "platform/host/kernel/module_table.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"

namespace host {
namespace {

bool IsLibraryImage(const std::string& path) {
  std::array<char, 4> magic{};
  std::ifstream(path, std::ios::binary).read(magic.data(), magic.size());
  return std::memcmp(magic.data(), "\177ELF", magic.size()) == 0;
}

// Why dlopen failed, as a Win32 code.
DWORD LoadFailure(const std::string& path) {
  const bool badImage = access(path.c_str(), F_OK) == 0 && !IsLibraryImage(path);
  return badImage ? ERROR_BAD_EXE_FORMAT : ERROR_MOD_NOT_FOUND;
}

struct LibraryCloser {
  void operator()(void* library) const { dlclose(library); }
};

}  // namespace

std::u16string_view FileNameOf(std::u16string_view path) {
  const std::size_t separator = path.find_last_of(u"/\\");
  return separator == std::u16string_view::npos ? path : path.substr(separator + 1);
}

ModuleTable& ModuleTable::Instance() {
  static auto* table = new ModuleTable;
  return *table;
}

DWORD ModuleTable::LoadFile(std::u16string_view path, HMODULE* module) {
  std::u16string hostPath(path);
  std::ranges::replace(hostPath, u'\\', u'/');
  if (IsModuleTakenAway(FileNameOf(hostPath))) return ERROR_MOD_NOT_FOUND;
  const std::string file = ToUtf8(hostPath);
  void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) return LoadFailure(file);
  std::unique_ptr<void, LibraryCloser> reference(library);  // goes after the lock
  std::lock_guard lock(mutex_);
  *module = static_cast<HMODULE>(library);
  const auto [entry, isFirst] = modules_.try_emplace(*module, Loaded{hostPath, nullptr, 0});
  ++entry->second.references;
  if (isFirst) (void)reference.release();  // the first load's is the one that counts
  return ERROR_SUCCESS;
}

DWORD ModuleTable::LoadSystemModule(std::u16string_view name, HMODULE* module) {
  if (IsModuleTakenAway(name)) return ERROR_MOD_NOT_FOUND;
  const auto exports = FindSystemModule(name);
  if (!exports) return ERROR_MOD_NOT_FOUND;
  std::lock_guard lock(mutex_);
  *module = reinterpret_cast<HMODULE>(const_cast<ModuleExports*>(exports.get()));
  const auto entry = modules_.try_emplace(*module, Loaded{std::u16string(name), exports, 0}).first;
  ++entry->second.references;
  return ERROR_SUCCESS;
}

DWORD ModuleTable::FindExport(HMODULE module, std::string_view name, FARPROC* address) {
  std::lock_guard lock(mutex_);
  const auto found = modules_.find(module);
  if (found == modules_.end()) return ERROR_MOD_NOT_FOUND;
  const Loaded& loaded = found->second;
  if (IsExportTakenAway(FileNameOf(loaded.path), name)) return ERROR_PROC_NOT_FOUND;
  if (loaded.exports) {
    const auto entry = loaded.exports->find(name);
    *address = entry == loaded.exports->end() ? nullptr : entry->second;
  } else {
    *address = reinterpret_cast<FARPROC>(dlsym(module, std::string(name).c_str()));
  }
  return *address ? ERROR_SUCCESS : ERROR_PROC_NOT_FOUND;
}

DWORD ModuleTable::Release(HMODULE module) {
  std::shared_ptr<const ModuleExports> exports;
  {
    std::lock_guard lock(mutex_);
    const auto found = modules_.find(module);
    if (found == modules_.end()) return ERROR_MOD_NOT_FOUND;
    if (--found->second.references > 0) return ERROR_SUCCESS;
    exports = std::move(found->second.exports);
    modules_.erase(found);
    if (exports || keepMapped_) return ERROR_SUCCESS;
    ++unloading_;
  }
  dlclose(module);
  std::lock_guard lock(mutex_);
  --unloading_;
  unloaded_.notify_all();
  return ERROR_SUCCESS;
}

void ModuleTable::KeepMapped() {
  std::unique_lock lock(mutex_);
  keepMapped_ = true;
  unloaded_.wait(lock, [this] { return unloading_ == 0; });
}

std::optional<std::u16string> ModuleTable::PathOf(HMODULE module) {
  std::lock_guard lock(mutex_);
  const auto found = modules_.find(module);
  return found == modules_.end() ? std::nullopt : std::optional(found->second.path);
}

int ModuleTable::References(std::u16string_view pathOrName) {
  const bool bare = FileNameOf(pathOrName) == pathOrName;
  std::lock_guard lock(mutex_);
  int references = 0;
  for (const auto& [module, loaded] : modules_) {
    const std::u16string_view name = bare ? FileNameOf(loaded.path) : std::u16string_view(loaded.path);
    if (CompareNoCase(name, pathOrName) == 0) references += loaded.references;
  }
  return references;
}

int ModuleReferences(std::u16string_view pathOrName) {
  return ModuleTable::Instance().References(pathOrName);
}

}  // namespace host
