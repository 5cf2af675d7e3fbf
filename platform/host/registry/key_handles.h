// Key handles of this process: which key each stands for, and what it may do.
#pragma once

#include <optional>

#include "platform/host/registry/database_schema.h"
#include "platform/host/registry/registry.h"

namespace host::registry {

// HKEY_CURRENT_USER as a starting point: which key it is shows only in the database.
inline constexpr KeyId kCurrentUser = -1;

struct KeyHandle {
  KeyId key = 0;
  REGSAM access = 0;
  bool predefined = false;
};

// What a handle stands for; predefined ones may do everything. None when it is not open.
std::optional<KeyHandle> FindKeyHandle(HKEY handle);

// A new handle, closed by CloseKeyHandle. Generic rights and MAXIMUM_ALLOWED become rights of keys.
HKEY OpenKeyHandle(KeyId key, REGSAM access);

// False when the handle is not open.
bool CloseKeyHandle(HKEY handle);

}  // namespace host::registry
