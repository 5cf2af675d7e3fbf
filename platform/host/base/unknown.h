// COM's base interface on the host: interfaces are abstract classes whose methods stand in the order of the binary
// contract, identified by GUID.
#pragma once

#include <cstring>

#include "platform/host/base/types.h"

#define STDMETHODCALLTYPE

using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline bool IsEqualGUID(const GUID& left, const GUID& right) {
  return std::memcmp(&left, &right, sizeof(GUID)) == 0;
}
inline bool IsEqualIID(REFIID left, REFIID right) {
  return IsEqualGUID(left, right);
}
inline bool operator==(const GUID& left, const GUID& right) {
  return IsEqualGUID(left, right);
}

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// Reference counting may come from any thread. QueryInterface answers S_OK and a reference that the caller releases, or
// E_NOINTERFACE (0x80004002) and null, or E_POINTER (0x80004003) for a null `object`.
struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  // The references left; with 0 the object is gone.
  virtual ULONG STDMETHODCALLTYPE Release() = 0;

 protected:
  ~IUnknown() = default;
};
