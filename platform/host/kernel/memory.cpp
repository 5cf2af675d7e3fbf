#include "platform/host/kernel/memory.h"

#include <cstdlib>
#include <mutex>
#include <unordered_set>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/unsupported.h"

namespace {

struct Heap {
  std::mutex mutex;
  std::unordered_set<void*> blocks;
};

Heap& LocalHeap() {
  static auto* heap = new Heap;
  return *heap;
}

}  // namespace

HLOCAL LocalAlloc(UINT flags, SIZE_T bytes) {
  if (flags & ~LMEM_ZEROINIT) host::Unsupported("LocalAlloc", "flags other than LMEM_ZEROINIT");
  const auto injected = host::InjectedFailure("LocalAlloc");
  const SIZE_T size = bytes == 0 ? 1 : bytes;
  void* block = injected ? nullptr : (flags & LMEM_ZEROINIT) ? std::calloc(1, size) : std::malloc(size);
  if (!block) {
    SetLastError(injected.value_or(ERROR_NOT_ENOUGH_MEMORY));
    return nullptr;
  }
  std::lock_guard lock(LocalHeap().mutex);
  LocalHeap().blocks.insert(block);
  return block;
}

HLOCAL LocalFree(HLOCAL block) {
  if (!block) return nullptr;
  {
    std::lock_guard lock(LocalHeap().mutex);
    if (LocalHeap().blocks.erase(block) == 0) {
      SetLastError(ERROR_INVALID_HANDLE);
      return block;
    }
  }
  std::free(block);
  return nullptr;
}

namespace host {

int LocalBlockCount() {
  std::lock_guard lock(LocalHeap().mutex);
  return static_cast<int>(LocalHeap().blocks.size());
}

}  // namespace host
