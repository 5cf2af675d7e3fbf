#include "platform/host/security/explicit_access.h"

#include <algorithm>

namespace host::security {
namespace {

void RemoveSid(AccessList* list, const Bytes& sid) {
  std::erase_if(*list, [&](const AccessEntry& entry) { return entry.sid == sid; });
}

void Replace(AccessList* list, const AccessEntry& entry) {
  const auto first = std::find_if(list->begin(), list->end(), [&](const auto& old) { return old.sid == entry.sid; });
  const auto place = first - list->begin();
  RemoveSid(list, entry.sid);
  list->insert(list->begin() + std::min<std::ptrdiff_t>(place, std::ssize(*list)), entry);
}

void Grant(AccessList* list, const AccessEntry& entry) {
  for (AccessEntry& old : *list) {
    if (old.type != entry.type || old.sid != entry.sid || old.flags != entry.flags) continue;
    old.mask |= entry.mask;
    return;
  }
  list->push_back(entry);
}

}  // namespace

void ApplyEntry(AccessList* list, ACCESS_MODE mode, ACCESS_MASK mask, BYTE inheritance, const Bytes& sid) {
  switch (mode) {
    case SET_ACCESS:
      return Replace(list, {ACCESS_ALLOWED_ACE_TYPE, inheritance, mask, sid});
    case GRANT_ACCESS:
      return Grant(list, {ACCESS_ALLOWED_ACE_TYPE, inheritance, mask, sid});
    case DENY_ACCESS:
      list->insert(list->begin(), {ACCESS_DENIED_ACE_TYPE, inheritance, mask, sid});
      return;
    case REVOKE_ACCESS:
      return RemoveSid(list, sid);
    default:
      return;  // the flat call refuses every other mode
  }
}

}  // namespace host::security
