// Values in the databases. Every function is one statement, or runs inside its caller's transaction.
#pragma once

#include <span>
#include <vector>

#include "platform/host/registry/database.h"
#include "platform/host/registry/key_name.h"

namespace host::registry {

struct StoredValue {
  DWORD type = 0;
  std::vector<BYTE> data;
};

struct NamedValue {
  std::u16string name;
  StoredValue value;
};

struct ValueSummary {
  DWORD count = 0;
  DWORD longestName = 0;  // characters
  DWORD longestData = 0;  // bytes
};

// ERROR_FILE_NOT_FOUND when the key has no such value, ERROR_KEY_DELETED when there is no such key.
DWORD ReadValue(Database& database, KeyId key, const KeyName& name, StoredValue* value);
DWORD WriteValue(Database& database, KeyId key, const KeyName& name, DWORD type, std::span<const BYTE> data);
DWORD DeleteValue(Database& database, KeyId key, const KeyName& name);
DWORD DeleteValues(Database& database, KeyId key);

// The value at `index` in the order of first writing: ERROR_NO_MORE_ITEMS past the last.
DWORD ValueAt(Database& database, KeyId key, DWORD index, NamedValue* value);
DWORD SummarizeValues(Database& database, KeyId key, ValueSummary* summary);

}  // namespace host::registry
