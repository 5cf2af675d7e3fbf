// Strings, variants and arrays of COM automation, as far as they are used here: strings of UTF-16 units,
// one-dimensional arrays of BSTR or of LONG. Any thread, but one object is used by one thread at a time. Another
// element type or more dimensions end the program (see base/unsupported.h).
#pragma once

#include "platform/host/base/types.h"
#include "platform/host/base/unknown.h"

using OLECHAR = WCHAR;
using VARTYPE = std::uint16_t;
// Points at the first unit; the length in bytes stands in the 32 bits before it, a null behind the text.
using BSTR = OLECHAR*;

#define VT_EMPTY 0
#define VT_NULL 1
#define VT_I4 3
#define VT_BSTR 8
#define VT_ARRAY 0x2000

struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
};

#define FADF_HAVEVARTYPE 0x80
#define FADF_BSTR 0x100

// Created and destroyed by the calls below only. `pvData` may be used while the array is locked; elements stand side by
// side, and what is stored there belongs to the array.
struct SAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  PVOID pvData;
  SAFEARRAYBOUND rgsabound[1];
};

// What `vt` says is in it. As wide as on the platform.
struct VARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG llVal;
    LONG lVal;
    BSTR bstrVal;
    SAFEARRAY* parray;
    PVOID byref[2];
  };
};

// A copy of `text` up to its null, for SysFreeString; null for a null text, or when there is no memory.
BSTR SysAllocString(const OLECHAR* text);
// Harmless for null.
void SysFreeString(BSTR text);
// UTF-16 units without the null behind them; 0 for null.
UINT SysStringLen(BSTR text);

// Makes it VT_EMPTY, whatever it was.
void VariantInit(VARIANT* variant);
// Frees what it holds and makes it VT_EMPTY. DISP_E_BADVARTYPE for a type that there is not, DISP_E_ARRAYISLOCKED for a
// locked array; the variant stays as it was then.
HRESULT VariantClear(VARIANT* variant);

// A new array with all elements 0, for SafeArrayDestroy; null when there is no memory, no dimension or no such type.
SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds);
// Changes the number of elements and the lower bound. Elements keep their places; new ones are 0, and those that go are
// freed. E_INVALIDARG for null, DISP_E_ARRAYISLOCKED, E_OUTOFMEMORY: the array stays as it was.
HRESULT SafeArrayRedim(SAFEARRAY* array, SAFEARRAYBOUND* bound);
// Locks count. Locking past 65535 and unlocking what is not locked answer E_UNEXPECTED, null E_INVALIDARG.
HRESULT SafeArrayLock(SAFEARRAY* array);
HRESULT SafeArrayUnlock(SAFEARRAY* array);
// An unlocked array of its own, with strings of its own. E_OUTOFMEMORY, or E_INVALIDARG for a null argument; `*copy` is
// null then.
HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy);
// The type of the elements. E_INVALIDARG for a null argument.
HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type);
// Frees the array and its elements. S_OK for null; DISP_E_ARRAYISLOCKED: nothing is freed.
HRESULT SafeArrayDestroy(SAFEARRAY* array);

namespace host {

// Strings and arrays of the whole process that have not been freed, for leak checks.
int LiveStrings();
int LiveArrays();

}  // namespace host
