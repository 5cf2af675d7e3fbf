#include "platform/host/identity/thread_token.h"

#include <atomic>
#include <utility>

namespace host {

namespace {

thread_local std::shared_ptr<const TokenFacts> threadToken;
std::atomic<unsigned> leftovers{0};

}  // namespace

std::shared_ptr<const TokenFacts> ThreadToken() {
  return threadToken;
}

void SetThreadToken(std::shared_ptr<const TokenFacts> facts) {
  threadToken = std::move(facts);
}

void DropLeftoverThreadToken() {
  if (threadToken == nullptr) return;
  threadToken.reset();
  ++leftovers;
}

unsigned LeftoverImpersonations() {
  return leftovers;
}

}  // namespace host
