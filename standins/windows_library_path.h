// Where a stand-in lies on Windows.
#pragma once

#include <windows.h>

#include <string>

// The path of the library this is compiled into, with `extension` (".log") for ".dll"; empty when it cannot be had.
inline std::wstring LibraryPathWithExtension(const wchar_t* extension) {
  HMODULE self = nullptr;
  const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  const auto address = reinterpret_cast<LPCWSTR>(&LibraryPathWithExtension);
  if (!GetModuleHandleExW(flags, address, &self)) return {};
  std::wstring path(32768, L'\0');  // the longest path there is
  path.resize(GetModuleFileNameW(self, path.data(), static_cast<DWORD>(path.size())));
  const std::size_t dot = path.rfind(L'.');
  return dot == std::wstring::npos ? std::wstring() : path.substr(0, dot) + extension;
}
