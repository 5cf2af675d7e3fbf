// The runtime's strings.
#include <atomic>
#include <cstring>
#include <new>
#include <string_view>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/runtime/runtime.h"
#include "platform/host/runtime/runtime_control.h"

namespace {

// What a string is made of. One over its caller's text lies in an HSTRING_HEADER; a counted one goes on with its
// reference count and its characters.
struct Text {
  bool counted;
  UINT32 length;
  PCWSTR characters;
};

struct CountedText : Text {
  std::atomic<UINT32> references;
};

static_assert(sizeof(Text) <= sizeof(HSTRING_HEADER));
static_assert(alignof(Text) <= alignof(HSTRING_HEADER));

std::atomic<int> liveStrings{0};

Text* TextOf(HSTRING string) {
  return reinterpret_cast<Text*>(string);
}

CountedText* CountedOf(HSTRING string) {
  return static_cast<CountedText*>(TextOf(string));
}

HRESULT MakeCounted(PCWSTR text, UINT32 length, HSTRING* string) {
  const std::size_t size = sizeof(WCHAR) * length;
  void* const block = ::operator new(sizeof(CountedText) + size + sizeof(WCHAR), std::nothrow);
  if (!block) return E_OUTOFMEMORY;
  WCHAR* const characters = reinterpret_cast<WCHAR*>(static_cast<char*>(block) + sizeof(CountedText));
  std::memcpy(characters, text, size);
  characters[length] = u'\0';
  *string = reinterpret_cast<HSTRING>(static_cast<Text*>(new (block) CountedText{{true, length, characters}, {1}}));
  ++liveStrings;
  return S_OK;
}

}  // namespace

HRESULT WindowsCreateString(PCWSTR text, UINT32 length, HSTRING* string) {
  if (!string) return E_INVALIDARG;
  *string = nullptr;
  if (const auto code = host::InjectedFailure("WindowsCreateString")) return static_cast<HRESULT>(*code);
  if (length == 0) return S_OK;
  return text ? MakeCounted(text, length, string) : E_POINTER;
}

HRESULT WindowsCreateStringReference(PCWSTR text, UINT32 length, HSTRING_HEADER* header, HSTRING* string) {
  if (!header || !string) return E_INVALIDARG;
  *string = nullptr;
  if (const auto code = host::InjectedFailure("WindowsCreateStringReference")) return static_cast<HRESULT>(*code);
  if (!text) return length == 0 ? S_OK : E_POINTER;
  if (text[length] != u'\0') return E_INVALIDARG;
  if (length == 0) return S_OK;
  *string = reinterpret_cast<HSTRING>(new (header) Text{false, length, text});
  return S_OK;
}

HRESULT WindowsDuplicateString(HSTRING string, HSTRING* copy) {
  if (!copy) return E_INVALIDARG;
  *copy = nullptr;
  if (!string) return S_OK;
  if (!TextOf(string)->counted) return MakeCounted(TextOf(string)->characters, TextOf(string)->length, copy);
  ++CountedOf(string)->references;
  *copy = string;
  return S_OK;
}

HRESULT WindowsDeleteString(HSTRING string) {
  if (!string || !TextOf(string)->counted || --CountedOf(string)->references != 0) return S_OK;
  CountedOf(string)->~CountedText();
  ::operator delete(static_cast<void*>(CountedOf(string)));
  --liveStrings;
  return S_OK;
}

UINT32 WindowsGetStringLen(HSTRING string) {
  return string ? TextOf(string)->length : 0;
}

PCWSTR WindowsGetStringRawBuffer(HSTRING string, UINT32* length) {
  if (length) *length = WindowsGetStringLen(string);
  return string ? TextOf(string)->characters : u"";
}

namespace host {

int LiveRuntimeStrings() {
  return liveStrings;
}

}  // namespace host
