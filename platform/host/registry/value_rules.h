// Rules for handing values to callers: type filters, terminators, buffers. Pure functions.
#pragma once

#include "platform/host/registry/value_store.h"

namespace host::registry {

// Whether RRF_RT_ flags allow a value of `type`.
bool TypeAllowed(DWORD type, DWORD flags);

// Gives string types the terminators they lack; bytes of half a character are completed with zero. A multi-string
// ends with two, other strings with one.
void Terminate(StoredValue* value);

// Replaces %NAME% by the environment's value, names in any letter case; what is not set stays as it stands. The value
// becomes a REG_SZ.
void ExpandEnvironment(StoredValue* value);

// A caller's output for data: `size` in bytes, in and out. `data` may be null, then only the size is told; 0 or
// ERROR_MORE_DATA (the size needed is told, nothing is written). Both null: 0.
DWORD CopyData(const std::vector<BYTE>& value, void* data, DWORD* size);

// A caller's output for a name: `length` in characters, in with the terminator, out without. ERROR_MORE_DATA leaves
// both as they were.
DWORD CopyName(const std::u16string& name, char16_t* buffer, DWORD* length);

}  // namespace host::registry
