// The memory routines of the client's stubs, for programs without the service's own.
#include <cstdlib>

#include "platform/rpc_interface.h"

void* __RPC_USER midl_user_allocate(size_t size) {
  return std::malloc(size);
}

void __RPC_USER midl_user_free(void* block) {
  std::free(block);
}
