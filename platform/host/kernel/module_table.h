// The libraries that this process has loaded, with their reference counts. Any thread.
#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host/kernel/system_modules.h"

namespace host {

// The exports registered for a platform module, null when there is none; what tests took away is not looked at.
std::shared_ptr<const ModuleExports> FindSystemModule(std::u16string_view name);
bool IsModuleTakenAway(std::u16string_view fileName);
bool IsExportTakenAway(std::u16string_view fileName, std::string_view name);

// What follows the last separator.
std::u16string_view FileNameOf(std::u16string_view path);

class ModuleTable {
 public:
  static ModuleTable& Instance();

  // Each load counts one reference. Returns 0 and the module, or the code to fail with. No lock is held while a library
  // runs its initialisers.
  DWORD LoadFile(std::u16string_view path, HMODULE* module);
  DWORD LoadSystemModule(std::u16string_view name, HMODULE* module);

  // 0, or 126 for a module that is not loaded, or 127 for an export that it lacks.
  DWORD FindExport(HMODULE module, std::string_view name, FARPROC* address);

  // Gives one reference back; 126 when the module is not loaded.
  DWORD Release(HMODULE module);

  // From now on released libraries stay mapped; waits for unloading that is under way. For the end of the process,
  // whose exit handlers run the libraries' own beside threads that still release them.
  void KeepMapped();

  std::optional<std::u16string> PathOf(HMODULE module);
  int References(std::u16string_view pathOrName);

 private:
  struct Loaded {
    std::u16string path;                           // of a platform module, its name
    std::shared_ptr<const ModuleExports> exports;  // of a platform module; null for a library file
    int references = 0;
  };

  std::mutex mutex_;
  std::condition_variable unloaded_;
  std::map<HMODULE, Loaded> modules_;
  int unloading_ = 0;  // libraries being unmapped
  bool keepMapped_ = false;
};

}  // namespace host
