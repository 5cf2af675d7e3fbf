// Whose rights count on the calling thread.
#pragma once

#include "platform/host/identity/process_token.h"
#include "platform/host/identity/thread_token.h"

namespace host {

// The token the calling thread impersonates with, else the process's own.
inline TokenFacts EffectiveToken() {
  const auto impersonated = ThreadToken();
  return impersonated ? *impersonated : OwnToken();
}

}  // namespace host
