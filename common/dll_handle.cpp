#include "common/dll_handle.h"

#include <utility>

#include "common/unique_resource.h"
#include "platform/errors.h"

namespace Quorvex::PC::Common {
namespace {

using UniqueModule = UniqueResource<NullableCloser<HMODULE, FreeLibrary>>;

HMODULE LoadFrom(const DllSource& source) {
  return source.loadFlags == 0 ? LoadLibraryW(source.name) : LoadLibraryExW(source.name, nullptr, source.loadFlags);
}

}  // namespace

CDllHandle::~CDllHandle() {
  UniqueModule library(std::exchange(this->module, nullptr));
}

bool CDllHandle::Load(const DllSource& source) {
  if (IsLoaded()) {
    SetLastError(ERROR_ALREADY_INITIALIZED);
    return false;
  }
  UniqueModule library(LoadFrom(source));
  if (!library) return false;
  // Loading runs the library's own start-up code, which may have come back here.
  if (IsLoaded()) {
    SetLastError(ERROR_ALREADY_INITIALIZED);
    return false;
  }
  if (!BindEntryPoints(library.Get())) {
    // What was found points into a library that goes now.
    ClearEntryPoints();
    return false;
  }
  this->module = library.Release();
  return true;
}

void CDllHandle::Unload() {
  UniqueModule library(std::exchange(this->module, nullptr));
  ClearEntryPoints();
}

bool CDllHandle::BindEntryPoints(HMODULE) {
  return true;
}

void CDllHandle::ClearEntryPoints() {}

}  // namespace Quorvex::PC::Common
