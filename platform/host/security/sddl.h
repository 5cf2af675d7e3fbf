// Security descriptors as text, and the check of an identity against one: for the parts of the host that admit callers.
// Pure functions; any thread may call.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/host/base/types.h"

namespace host {

// The DACL of a valid descriptor, absolute or self-relative, as SDDL ("D:(A;;0x100000;;;WD)"). Empty for a null or
// malformed descriptor.
std::string DescriptorToSddl(const void* descriptor);

// Who asks. SIDs in text form. The user's own groups are not modelled: beside the user's SID an identity is Everyone
// and an authenticated user, and an administrator when it is LocalSystem.
struct Identity {
  std::string userSid;
  bool isSystem = false;
  bool isAppContainer = false;
  std::vector<std::string> capabilitySids;  // with the package SID among them; only of an app container
};

// Whether the DACL grants every right of `desired` to `identity`, entries taken in order. Generic rights must be
// granted as such or by GENERIC_ALL, which also grants every specific and standard one. An app container needs the
// grant twice: once to its user or Everyone, and once to one of its capability or package SIDs (ALL APPLICATION
// PACKAGES included). An empty text, or one without a list, grants everything to all but app containers; a malformed
// text, or one with an owner, a group or a SACL, grants nothing.
bool AccessGranted(std::string_view sddl, const Identity& identity, DWORD desired);

}  // namespace host
