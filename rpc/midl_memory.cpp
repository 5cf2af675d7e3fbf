// The memory routines of the generated stubs: the runtime heap.
#include <cstdlib>

#include "platform/rpc_interface.h"

void* __RPC_USER midl_user_allocate(size_t size) {
  return std::malloc(size);
}

void __RPC_USER midl_user_free(void* block) {
  std::free(block);
}
