// The token a thread impersonates with, while it does.
#pragma once

#include <memory>

#include "platform/host/identity/token_facts.h"

namespace host {

// The calling thread's impersonation token, or null while the thread has its process's identity.
std::shared_ptr<const TokenFacts> ThreadToken();

// Replaces it; null ends the impersonation.
void SetThreadToken(std::shared_ptr<const TokenFacts> facts);

// For those who run others' code on their threads: ends an impersonation that the code left behind and counts it.
void DropLeftoverThreadToken();

// How many impersonations were left behind in this process so far. A correct program has none.
unsigned LeftoverImpersonations();

}  // namespace host
