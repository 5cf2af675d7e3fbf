// Where the program's own files lie.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Common {

// Room for a path with its terminator; a path that fills it counts as cut.
inline constexpr std::size_t kPathCapacity = 260;
using PathBuffer = WCHAR[kPathCapacity];

// The folder of the running executable, without a trailing separator. False when its path cannot be had or has 260
// characters or more, or when a path step fails; a failing path step leaves its HRESULT as the last error.
bool GetModuleDirectory(PathBuffer& directory);

// The full path of `fileName` in that folder; fails as GetModuleDirectory does.
bool GetModuleSibling(const WCHAR* fileName, PathBuffer& path);

}  // namespace Quorvex::PC::Common
