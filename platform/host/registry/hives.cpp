#include "platform/host/registry/hives.h"

#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/registry/connection_pool.h"
#include "platform/host/registry/key_store.h"
#include "platform/host/registry/registry_control.h"

namespace host::registry {
namespace {

DWORD LoadHive(Database& database, const KeyName& sid) {
  WriteScope scope(database);
  if (scope.Status() != ERROR_SUCCESS) return scope.Status();
  KeyId root = 0;
  DWORD code = FindChild(database, kUsersRoot, sid, &root);
  if (code == ERROR_FILE_NOT_FOUND) code = InsertKey(database, kUsersRoot, sid, false, &root);
  if (code == ERROR_SUCCESS) code = database.Use(Query::kLoadHive).BindBytes(sid.folded).Run();
  return code == ERROR_SUCCESS ? scope.Commit() : code;
}

}  // namespace

DWORD CheckHive(Database& database, const KeyName& sid) {
  static const std::string localSystem = MakeKeyName(ToUtf16(kLocalSystemSid)).folded;
  if (sid.folded == localSystem) return ERROR_SUCCESS;
  const DWORD code = database.Use(Query::kHiveLoaded).BindBytes(sid.folded).Step();
  return code == kNoRow ? ERROR_FILE_NOT_FOUND : code;
}

KeyName CurrentUserHive() {
  return MakeKeyName(ToUtf16(OwnToken().userSid));
}

}  // namespace host::registry

namespace host {

using registry::BorrowedDatabase;

LSTATUS SetHiveLoaded(const std::string& sid, bool loaded) {
  if (sid.empty() || sid.size() > registry::kLongestKeyName || sid.find('\\') != std::string::npos) {
    return ERROR_INVALID_PARAMETER;
  }
  const BorrowedDatabase database;
  if (database.Status() != ERROR_SUCCESS) return static_cast<LSTATUS>(database.Status());
  const registry::KeyName name = registry::MakeKeyName(ToUtf16(sid));
  const DWORD code = loaded ? registry::LoadHive(*database, name)
                            : (*database).Use(registry::Query::kUnloadHive).BindBytes(name.folded).Run();
  return static_cast<LSTATUS>(code);
}

bool IsHiveLoaded(const std::string& sid) {
  const BorrowedDatabase database;
  return database.Status() == ERROR_SUCCESS &&
         CheckHive(*database, registry::MakeKeyName(ToUtf16(sid))) == ERROR_SUCCESS;
}

}  // namespace host
