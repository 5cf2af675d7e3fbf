// A library loaded at run time together with the addresses of its entry points.
//
// An object is unloaded, or loaded and bound; it never keeps a library whose binding failed. It is loaded once and
// belongs to one thread at a time. Nothing is logged here.
#pragma once

#include "platform/modules.h"
#include "platform/types.h"

namespace Quorvex::PC::Common {

// How to find a library: by its full path, or by name in the system directory only.
struct DllSource {
  const WCHAR* name;
  DWORD loadFlags;  // 0: LoadLibraryW; otherwise those of LoadLibraryExW
};
inline DllSource DllByPath(const WCHAR* fullPath) {
  return {fullPath, 0};
}
inline DllSource DllFromSystem(const WCHAR* fileName) {
  return {fileName, LOAD_LIBRARY_SEARCH_SYSTEM32};
}

class CDllHandle {
 public:
  CDllHandle() = default;
  CDllHandle(const CDllHandle&) = delete;
  CDllHandle& operator=(const CDllHandle&) = delete;
  virtual ~CDllHandle();

  // Loads and binds the library. False: 1247 (ERROR_ALREADY_INITIALIZED) when one is held already, else the last error
  // of the loader or of the entry point that is missing; the object then stays unloaded.
  bool Load(const DllSource& source);

  // Gives the library up again: its handle is taken out, the entry points are cleared, then it is released.
  void Unload();

  bool IsLoaded() const { return this->module != nullptr; }

 protected:
  // Looks the entry points up in `library`; true when the binding is usable.
  virtual bool BindEntryPoints(HMODULE library);
  // Sets every entry-point address to null.
  virtual void ClearEntryPoints();

  HMODULE module = nullptr;
};

// Looks `name` up in `library` and stores its address, null when it is missing. Returns whether it was found.
template <typename Function>
bool FindEntryPoint(HMODULE library, const char* name, Function*& address) {
  address = reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
  return address != nullptr;
}

}  // namespace Quorvex::PC::Common
