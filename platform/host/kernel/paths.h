// Path functions. The host's separator is '/'; '\' separates as well. Sizes are in characters, terminator included.
#pragma once

#include "platform/host/base/types.h"

#define PATHCCH_MAX_CCH 0x8000
#define PATHCCH_E_FILENAME_TOO_LONG (static_cast<HRESULT>(0x800700CEu))

// Cuts the last element and the separator before it; a root stays. S_OK, S_FALSE when there was nothing to cut,
// E_INVALIDARG for a null pointer, a size of 0 or over PATHCCH_MAX_CCH, or a path not terminated within its size.
HRESULT PathCchRemoveFileSpec(PWSTR path, size_t size);

// Appends `more` with one separator between. S_OK; E_INVALIDARG as above; 0x8007007A when the result does not fit, the
// path then being empty. A `more` with "." or ".." elements is not supported.
HRESULT PathCchAppend(PWSTR path, size_t size, PCWSTR more);
