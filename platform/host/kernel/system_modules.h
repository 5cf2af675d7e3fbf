// The platform's own modules, as tables of exports, and what tests do to modules. Any thread.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "platform/host/base/types.h"

namespace host {

using ModuleExports = std::map<std::string, FARPROC, std::less<>>;

// Adds a module to those found by bare name; an existing one of the name (in any letter case) is replaced.
void RegisterSystemModule(std::u16string_view name, ModuleExports exports);

// From now on the module, or one export of it, is not there; modules already loaded keep running but lose the export.
// `module` is the bare file name, in any letter case, of a platform module or of a library file.
void TakeAwayModule(std::u16string_view module);
void TakeAwayExport(std::u16string_view module, std::string_view name);

// Undoes all that was taken away.
void RestoreModules();

// How many references the process holds on a module, given by path or by bare name; 0 when it is not loaded.
int ModuleReferences(std::u16string_view pathOrName);

// What GetModuleFileNameW(null) gives from now on; an empty path goes back to the real one.
void SetExecutablePath(std::u16string_view path);

}  // namespace host
