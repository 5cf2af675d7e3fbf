// Memory asked for ahead of its use, so that several pieces come at the same time.
#pragma once

#include <cstddef>

namespace host::rpc {

// A hint: nothing is read or changed, and any address will do.
inline void PrefetchMemory(const void* at, std::size_t size) {
  constexpr std::size_t kCacheLine = 64;
  for (std::size_t offset = 0; offset < size; offset += kCacheLine)
    __builtin_prefetch(static_cast<const char*>(at) + offset, 1);
}

}  // namespace host::rpc
