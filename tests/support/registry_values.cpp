#include "tests/support/registry_values.h"

#include <gtest/gtest.h>

#include "common/handles.h"

namespace support {
namespace {

using Quorvex::PC::Common::UniqueRegistryKey;

void Set(const WCHAR* key, const WCHAR* name, DWORD type, const void* data, std::size_t size, REGSAM view) {
  UniqueRegistryKey opened;
  ASSERT_EQ(
      RegCreateKeyExW(HKEY_LOCAL_MACHINE, key, 0, nullptr, 0, KEY_WRITE | view, nullptr, opened.Receive(), nullptr),
      ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExW(opened.Get(), name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)),
            ERROR_SUCCESS);
}

bool Read(const WCHAR* key, const WCHAR* name, DWORD type, void* data, DWORD* size, REGSAM view) {
  UniqueRegistryKey opened;
  DWORD found = 0;
  return RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_READ | view, opened.Receive()) == ERROR_SUCCESS &&
         RegQueryValueExW(opened.Get(), name, nullptr, &found, static_cast<BYTE*>(data), size) == ERROR_SUCCESS &&
         found == type;
}

}  // namespace

void SetNumber(const WCHAR* key, const WCHAR* name, DWORD value, REGSAM view) {
  Set(key, name, REG_DWORD, &value, sizeof(value), view);
}

void SetText(const WCHAR* key, const WCHAR* name, const WideString& text, REGSAM view) {
  Set(key, name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(WCHAR), view);
}

std::optional<DWORD> Number(const WCHAR* key, const WCHAR* name, REGSAM view) {
  DWORD value = 0;
  DWORD size = sizeof(value);
  if (!Read(key, name, REG_DWORD, &value, &size, view)) return std::nullopt;
  return value;
}

std::optional<WideString> Text(const WCHAR* key, const WCHAR* name, REGSAM view) {
  WCHAR text[400];
  DWORD size = sizeof(text);
  if (!Read(key, name, REG_SZ, text, &size, view)) return std::nullopt;
  return WideString(text, size / sizeof(WCHAR) - 1);
}

}  // namespace support
