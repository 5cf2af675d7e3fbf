// The Windows Runtime on the host: initialisation, strings, and activation of the classes it has.
//
// A string is an immutable, counted block of text; null is the empty string, and nothing else is. Strings may be used
// from any thread.
#pragma once

#include "platform/host/base/types.h"
#include "platform/host/base/unknown.h"

using INT16 = std::int16_t;
using UINT16 = std::uint16_t;
using INT32 = std::int32_t;
using UINT32 = std::uint32_t;
using boolean = std::uint8_t;

struct HSTRING__;
using HSTRING = HSTRING__*;

// The memory of a string reference; belongs to its maker and says nothing to anybody else.
struct HSTRING_HEADER {
  union {
    PVOID Reserved1;
    char Reserved2[24];
  } Reserved;
};

enum TrustLevel { BaseTrust = 0, PartialTrust = 1, FullTrust = 2 };

inline constexpr IID IID_IInspectable = {0xaf86e2e0, 0xb12d, 0x4c6a, {0x9c, 0x5a, 0xd7, 0xaa, 0x65, 0x10, 0x1e, 0x90}};
struct IInspectable : public IUnknown {
  // Not supported here.
  virtual HRESULT STDMETHODCALLTYPE GetIids(ULONG* count, IID** iids) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetRuntimeClassName(HSTRING* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTrustLevel(TrustLevel* level) = 0;

 protected:
  ~IInspectable() = default;
};

// No methods: its objects may be called from every apartment.
inline constexpr IID IID_IAgileObject = {0x94ea2b94, 0xe9cc, 0x49e0, {0xc0, 0xff, 0xee, 0x64, 0xca, 0x8f, 0x5b, 0x90}};

enum RO_INIT_TYPE { RO_INIT_SINGLETHREADED = 0, RO_INIT_MULTITHREADED = 1 };

// Joins the calling thread to an apartment, as CoInitializeEx does and counted together with it: S_OK, S_FALSE or
// RPC_E_CHANGED_MODE (0x80010106). Each success is undone by one RoUninitialize on the same thread.
HRESULT RoInitialize(RO_INIT_TYPE type);
void RoUninitialize();

// A new object of the class, with a reference. CO_E_NOTINITIALIZED (0x800401F0) while the process has no multithreaded
// apartment and the thread none of its own, REGDB_E_CLASSNOTREG (0x80040154) for a class that is not there, E_NOTIMPL
// (0x80004001) for one that cannot be made without arguments.
HRESULT RoActivateInstance(HSTRING className, IInspectable** instance);

// The interface `iid` of what the class has apart from its objects. Failures as above, and E_NOINTERFACE (0x80004002).
HRESULT RoGetActivationFactory(HSTRING className, REFIID iid, void** factory);

// A string with a copy of `length` characters, null characters among them or not; of length 0 it is null. E_POINTER
// (0x80004003) for a null `text` with a length, E_INVALIDARG (0x80070057) for a null `string`.
HRESULT WindowsCreateString(PCWSTR text, UINT32 length, HSTRING* string);

// A string over the caller's text, which must be null-terminated at `length` (else E_INVALIDARG) and stay, with
// `header`, as long as the string is used. It is not deleted. Null `header` or `string`: E_INVALIDARG; null `text` with
// a length: E_POINTER.
HRESULT WindowsCreateStringReference(PCWSTR text, UINT32 length, HSTRING_HEADER* header, HSTRING* string);

// Another reference on the string; of a reference over the caller's text, a copy. E_INVALIDARG for a null `copy`.
HRESULT WindowsDuplicateString(HSTRING string, HSTRING* copy);

// Gives back one reference; nothing for null and for a string reference. Always S_OK.
HRESULT WindowsDeleteString(HSTRING string);

UINT32 WindowsGetStringLen(HSTRING string);

// The text, null-terminated, as long as the string lives; "" for null. `length` may be null.
PCWSTR WindowsGetStringRawBuffer(HSTRING string, UINT32* length);
