#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/processes.h"
#include "platform/tokens.h"
#include "tools/software_key.h"

namespace tool {
namespace {

constexpr UINT32 kLongestPackage = 64;  // as the service takes it, with the terminator

}  // namespace

WideString OwnPackage() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return {};
  WCHAR name[kLongestPackage] = {};
  UINT32 length = kLongestPackage;
  const bool packaged = GetPackageFamilyNameFromToken(token, &length, name) == ERROR_SUCCESS;
  CloseHandle(token);
  return packaged ? WideString(name) : WideString();
}

}  // namespace tool
