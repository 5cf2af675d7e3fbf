#include "platform/host/security/sddl.h"

#include <algorithm>

#include "platform/host/base/error_codes.h"
#include "platform/host/security/sddl_text.h"

namespace host {
namespace {

using security::AccessEntry;
using security::AccessList;

using Sids = std::vector<std::string>;

Sids UserSids(const Identity& identity) {
  Sids sids{identity.userSid, "S-1-1-0", "S-1-5-11"};
  if (identity.isSystem) sids.insert(sids.end(), {"S-1-5-18", "S-1-5-32-544"});
  return sids;
}

Sids ContainerSids(const Identity& identity) {
  Sids sids = identity.capabilitySids;
  sids.push_back("S-1-15-2-1");
  return sids;
}

ACCESS_MASK Granted(const AccessEntry& entry) {
  return entry.mask & GENERIC_ALL ? ~ACCESS_MASK{0} : entry.mask;
}

// The first entry that speaks of a right decides it.
bool Grants(const AccessList& list, const Sids& sids, ACCESS_MASK desired) {
  for (const AccessEntry& entry : list) {
    if (desired == 0) break;
    const std::string sid = security::SidText(entry.sid.data());
    if ((entry.flags & INHERIT_ONLY_ACE) || std::find(sids.begin(), sids.end(), sid) == sids.end()) continue;
    if (entry.type == ACCESS_DENIED_ACE_TYPE && (Granted(entry) & desired)) return false;
    if (entry.type == ACCESS_ALLOWED_ACE_TYPE) desired &= ~Granted(entry);
  }
  return desired == 0;
}

}  // namespace

std::string DescriptorToSddl(const void* descriptor) {
  security::DescriptorParts parts;
  if (!security::ReadParts(descriptor, &parts)) return {};
  return security::FormatDacl(parts).value_or("");
}

bool AccessGranted(std::string_view sddl, const Identity& identity, DWORD desired) {
  security::DaclText dacl;
  if (security::ParseDacl(sddl, &dacl) != ERROR_SUCCESS) return false;
  if (!dacl.list) return !identity.isAppContainer;
  if (!Grants(*dacl.list, UserSids(identity), desired)) return false;
  return !identity.isAppContainer || Grants(*dacl.list, ContainerSids(identity), desired);
}

}  // namespace host
