// User hives: which are loaded, and whose is HKEY_CURRENT_USER: that of the user of this process's token.
#pragma once

#include "platform/host/registry/database.h"
#include "platform/host/registry/key_name.h"

namespace host::registry {

// 0 when the hive is loaded, ERROR_FILE_NOT_FOUND when not.
DWORD CheckHive(Database& database, const KeyName& sid);

// The name of the hive that HKEY_CURRENT_USER stands for.
KeyName CurrentUserHive();

}  // namespace host::registry
