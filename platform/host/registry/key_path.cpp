#include "platform/host/registry/key_path.h"

#include "platform/host/base/error_codes.h"
#include "platform/host/registry/hives.h"

namespace host::registry {

DWORD MakeKeyPath(HKEY handle, const char16_t* subKey, REGSAM access, REGSAM rights, KeyPath* path) {
  const std::optional<KeyHandle> from = FindKeyHandle(handle);
  if (!from) return ERROR_INVALID_HANDLE;
  if ((from->access & rights) != rights) return ERROR_ACCESS_DENIED;
  constexpr REGSAM kBothViews = KEY_WOW64_32KEY | KEY_WOW64_64KEY;
  if ((access & kBothViews) == kBothViews) return ERROR_INVALID_PARAMETER;

  path->start = from->key;
  if (from->key == kCurrentUser) {
    path->start = kUsersRoot;
    path->steps.push_back(CurrentUserHive());
  }
  const DWORD code = SplitPath(subKey, &path->steps);
  if (code == ERROR_SUCCESS && (access & KEY_WOW64_32KEY)) RedirectTo32Bit(path->start, &path->steps);
  return code;
}

std::string PathId(const KeyPath& path) {
  std::string id(reinterpret_cast<const char*>(&path.start), sizeof path.start);
  for (const KeyName& step : path.steps) id.append("\0\\", 2).append(step.folded);  // no step has a backslash
  return id;
}

DWORD CheckPathHive(Database& database, const KeyPath& path) {
  return path.start == kUsersRoot && !path.steps.empty() ? CheckHive(database, path.steps[0]) : ERROR_SUCCESS;
}

DWORD FindKey(Database& database, const KeyPath& path, KeyId* key) {
  *key = path.start;
  if (path.steps.empty()) return ERROR_SUCCESS;
  DWORD code = CheckPathHive(database, path);
  if (code != ERROR_SUCCESS) return code;
  std::size_t found = 0;
  code = FollowPath(database, path.start, path.steps, key, &found);
  return code == ERROR_SUCCESS && found < path.steps.size() ? ERROR_FILE_NOT_FOUND : code;
}

DWORD CreatePath(Database& database, const KeyPath& path, bool isVolatile, KeyId* key, bool* created) {
  DWORD code = CheckPathHive(database, path);
  std::size_t found = 0;
  if (code == ERROR_SUCCESS) code = FollowPath(database, path.start, path.steps, key, &found);
  if (created) *created = found < path.steps.size();
  for (; code == ERROR_SUCCESS && found < path.steps.size(); ++found) {
    code = InsertKey(database, *key, path.steps[found], isVolatile, key);
  }
  return code;
}

}  // namespace host::registry
