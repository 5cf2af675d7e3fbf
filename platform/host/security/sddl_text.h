// The DACL part of the security descriptor definition language. Pure functions.
#pragma once

#include <string>
#include <string_view>

#include "platform/host/security/access_list.h"
#include "platform/host/security/descriptor.h"

namespace host::security {

// A DACL as read: control bits, and the list (none for a null DACL, which admits everybody).
struct DaclText {
  bool present = false;
  SECURITY_DESCRIPTOR_CONTROL control = 0;  // SE_DACL_PROTECTED, SE_DACL_AUTO_INHERITED
  std::optional<AccessList> list;
};

// "D:" with flags and entries; empty without a DACL. None when it has entries that the text cannot say.
std::optional<std::string> FormatDacl(const DescriptorParts& parts);

// Reads a descriptor's text that has a "D:" part alone, or none at all. A Win32 code: ERROR_NOT_SUPPORTED for a text
// with an owner, a group or a SACL, else ERROR_INVALID_PARAMETER, ERROR_INVALID_ACL or ERROR_INVALID_SID.
DWORD ParseDacl(std::string_view text, DaclText* dacl);

}  // namespace host::security
