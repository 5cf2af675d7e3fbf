#include "platform/windows/package_identity.h"

namespace {

using PackageFamilyNameFromToken = LONG(WINAPI*)(HANDLE, UINT32*, PWSTR);

PackageFamilyNameFromToken FindExport() {
  const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
  const FARPROC found = kernel ? GetProcAddress(kernel, "GetPackageFamilyNameFromToken") : nullptr;
  return reinterpret_cast<PackageFamilyNameFromToken>(reinterpret_cast<void*>(found));
}

}  // namespace

extern "C" LONG WINAPI GetPackageFamilyNameFromToken(HANDLE token, UINT32* length, PWSTR packageFamilyName) {
  static const PackageFamilyNameFromToken function = FindExport();
  const LONG result = function ? function(token, length, packageFamilyName) : ERROR_NOT_SUPPORTED;
  if (result != ERROR_SUCCESS) SetLastError(static_cast<DWORD>(result));
  return result;
}
