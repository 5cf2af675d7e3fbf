// Copies on the local heap, for results that the caller frees with LocalFree.
#pragma once

#include <cstring>
#include <string>

#include "platform/host/kernel/memory.h"
#include "platform/host/security/sid.h"

namespace host::security {

// Null, with the last error set, when there is no memory.
inline void* LocalCopy(const void* data, std::size_t size) {
  void* block = LocalAlloc(LMEM_FIXED, size);
  if (block && size != 0) std::memcpy(block, data, size);
  return block;
}

inline void* LocalCopy(const Bytes& bytes) {
  return LocalCopy(bytes.data(), bytes.size());
}

// With a terminator.
inline LPWSTR LocalCopy(const std::u16string& text) {
  return static_cast<LPWSTR>(LocalCopy(text.c_str(), (text.size() + 1) * sizeof(char16_t)));
}

}  // namespace host::security
