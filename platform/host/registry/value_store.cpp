#include "platform/host/registry/value_store.h"

#include "platform/host/base/error_codes.h"
#include "platform/host/registry/key_store.h"

namespace host::registry {
namespace {

// The answer for something a key does not have: `absent` when the key itself is there.
DWORD Absent(Database& database, KeyId key, DWORD absent) {
  const DWORD code = CheckKey(database, key);
  return code == ERROR_SUCCESS ? absent : code;
}

void TakeValue(const Statement& row, int typeColumn, StoredValue* value) {
  const std::span<const BYTE> data = row.Bytes(typeColumn + 1);
  value->type = static_cast<DWORD>(row.Number(typeColumn));
  value->data.assign(data.begin(), data.end());
}

}  // namespace

DWORD ReadValue(Database& database, KeyId key, const KeyName& name, StoredValue* value) {
  {
    Statement row = database.Use(Query::kReadValue, StoreOf(key));
    const DWORD code = row.Bind(key).BindBytes(name.folded).Step();
    if (code == ERROR_SUCCESS) TakeValue(row, 0, value);
    if (code != kNoRow) return code;
  }
  return Absent(database, key, ERROR_FILE_NOT_FOUND);
}

DWORD WriteValue(Database& database, KeyId key, const KeyName& name, DWORD type, std::span<const BYTE> data) {
  const DWORD code = database.Use(Query::kWriteValue, StoreOf(key))
                         .Bind(key)
                         .BindBytes(name.folded)
                         .BindText(name.text)
                         .Bind(std::int64_t{type})
                         .Bind(data)
                         .Run();
  return code == ERROR_SUCCESS && database.Changes() == 0 ? ERROR_KEY_DELETED : code;
}

DWORD DeleteValue(Database& database, KeyId key, const KeyName& name) {
  const DWORD code = database.Use(Query::kDeleteValue, StoreOf(key)).Bind(key).BindBytes(name.folded).Run();
  return code == ERROR_SUCCESS && database.Changes() == 0 ? Absent(database, key, ERROR_FILE_NOT_FOUND) : code;
}

DWORD DeleteValues(Database& database, KeyId key) {
  return database.Use(Query::kDeleteValues, StoreOf(key)).Bind(key).Run();
}

DWORD ValueAt(Database& database, KeyId key, DWORD index, NamedValue* value) {
  {
    Statement row = database.Use(Query::kValueAt, StoreOf(key));
    const DWORD code = row.Bind(key).Bind(std::int64_t{index}).Step();
    if (code == ERROR_SUCCESS) {
      value->name = row.Text(0);
      TakeValue(row, 1, &value->value);
    }
    if (code != kNoRow) return code;
  }
  return Absent(database, key, ERROR_NO_MORE_ITEMS);
}

DWORD SummarizeValues(Database& database, KeyId key, ValueSummary* summary) {
  Statement row = database.Use(Query::kValueSummary, StoreOf(key));
  const DWORD code = row.Bind(key).Step();
  if (code != ERROR_SUCCESS) return code;
  summary->count = static_cast<DWORD>(row.Number(0));
  summary->longestName = static_cast<DWORD>(row.Number(1));
  summary->longestData = static_cast<DWORD>(row.Number(2));
  return ERROR_SUCCESS;
}

}  // namespace host::registry
