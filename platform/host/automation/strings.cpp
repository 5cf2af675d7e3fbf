#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "platform/host/automation/automation.h"
#include "platform/host/base/fault_injection.h"

namespace {

// Keeps the text aligned like any allocation; the length takes the last 32 bits of it.
constexpr std::size_t kPrefix = 16;

std::atomic<int> liveStrings{0};

std::uint32_t* LengthOf(BSTR text) {
  return reinterpret_cast<std::uint32_t*>(text) - 1;
}

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr || host::InjectedFailure("SysAllocString")) return nullptr;
  const std::u16string_view source(text);
  if (source.size() > std::numeric_limits<std::uint32_t>::max() / sizeof(OLECHAR)) return nullptr;
  const std::size_t bytes = source.size() * sizeof(OLECHAR);
  auto* block = static_cast<char*>(operator new(kPrefix + bytes + sizeof(OLECHAR), std::nothrow));
  if (block == nullptr) return nullptr;
  const auto copy = reinterpret_cast<BSTR>(block + kPrefix);
  *LengthOf(copy) = static_cast<std::uint32_t>(bytes);
  std::memcpy(copy, text, bytes + sizeof(OLECHAR));
  ++liveStrings;
  return copy;
}

void SysFreeString(BSTR text) {
  if (text == nullptr) return;
  operator delete(reinterpret_cast<char*>(text) - kPrefix);
  --liveStrings;
}

UINT SysStringLen(BSTR text) {
  return text == nullptr ? 0 : *LengthOf(text) / sizeof(OLECHAR);
}

namespace host {

int LiveStrings() {
  return liveStrings;
}

}  // namespace host
