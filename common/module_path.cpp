#include "common/module_path.h"

#include "platform/errors.h"
#include "platform/modules.h"
#include "platform/paths.h"

namespace Quorvex::PC::Common {
namespace {

bool StepSucceeded(HRESULT result) {
  if (SUCCEEDED(result)) return true;
  SetLastError(static_cast<DWORD>(result));
  return false;
}

}  // namespace

bool GetModuleDirectory(PathBuffer& directory) {
  const DWORD length = GetModuleFileNameW(nullptr, directory, kPathCapacity);
  if (length == 0 || length == kPathCapacity) return false;
  return StepSucceeded(PathCchRemoveFileSpec(directory, kPathCapacity));
}

bool GetModuleSibling(const WCHAR* fileName, PathBuffer& path) {
  return GetModuleDirectory(path) && StepSucceeded(PathCchAppend(path, kPathCapacity, fileName));
}

}  // namespace Quorvex::PC::Common
