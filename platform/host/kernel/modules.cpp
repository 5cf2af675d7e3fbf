#include "platform/host/kernel/modules.h"

#include <algorithm>
#include <string>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/kernel/executable_path.h"
#include "platform/host/kernel/module_table.h"

namespace {

using host::ModuleTable;

std::u16string BesideProgram(std::u16string_view fileName) {
  std::u16string path = host::ExecutablePath();
  path.resize(path.size() - host::FileNameOf(path).size());
  return path.append(fileName);
}

// A bare name without an extension means a ".dll".
std::u16string WithExtension(std::u16string_view name) {
  const bool complete = name.find_first_of(u"./\\") != std::u16string_view::npos;
  return std::u16string(name).append(complete ? u"" : u".dll");
}

DWORD LoadByName(std::u16string_view name, bool systemOnly, HMODULE* module) {
  auto& table = ModuleTable::Instance();
  if (host::FileNameOf(name) != name) return table.LoadFile(name, module);
  const std::u16string fileName = WithExtension(name);
  if (!systemOnly) {
    const DWORD code = table.LoadFile(BesideProgram(fileName), module);
    if (code != ERROR_MOD_NOT_FOUND) return code;
  }
  return table.LoadSystemModule(fileName, module);
}

HMODULE Load(const char* call, LPCWSTR name, bool systemOnly) {
  HMODULE module = nullptr;
  DWORD code = ERROR_SUCCESS;
  if (const auto injected = host::InjectedFailure(call)) {
    code = *injected;
  } else {
    code = name ? LoadByName(name, systemOnly, &module) : ERROR_INVALID_PARAMETER;
  }
  if (code != ERROR_SUCCESS) SetLastError(code);
  return module;
}

}  // namespace

HMODULE LoadLibraryW(LPCWSTR name) {
  return Load("LoadLibraryW", name, false);
}

HMODULE LoadLibraryExW(LPCWSTR name, HANDLE file, DWORD flags) {
  if (file) host::Unsupported("LoadLibraryExW", "hFile not null");
  if (flags & ~LOAD_LIBRARY_SEARCH_SYSTEM32) {
    host::Unsupported("LoadLibraryExW", "flags other than LOAD_LIBRARY_SEARCH_SYSTEM32");
  }
  return Load("LoadLibraryExW", name, flags != 0);
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
  if (reinterpret_cast<std::uintptr_t>(name) <= 0xFFFF) host::Unsupported("GetProcAddress", "an ordinal");
  FARPROC address = nullptr;
  const auto injected = host::InjectedFailure("GetProcAddress");
  const DWORD code = injected ? *injected : ModuleTable::Instance().FindExport(module, name, &address);
  if (code != ERROR_SUCCESS) SetLastError(code);
  return address;
}

BOOL FreeLibrary(HMODULE module) {
  if (const auto code = host::InjectedFailure("FreeLibrary")) return host::FailWith(*code);
  const DWORD code = ModuleTable::Instance().Release(module);
  return code == ERROR_SUCCESS ? TRUE : host::FailWith(code);
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD size) {
  const auto injected = host::InjectedFailure("GetModuleFileNameW");
  const auto found = module ? ModuleTable::Instance().PathOf(module) : std::optional(host::ExecutablePath());
  if (injected || !found || found->empty()) {
    SetLastError(injected.value_or(ERROR_MOD_NOT_FOUND));
    return 0;
  }
  const DWORD length = static_cast<DWORD>(found->size());
  const DWORD copied = size == 0 ? 0 : std::min(length, size - 1);
  std::copy_n(found->data(), copied, path);
  if (size > 0) path[copied] = u'\0';
  SetLastError(length < size ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
  return length < size ? length : size;
}
