// What a token handle stands for, and what a process handle tells of its token.
#pragma once

#include <memory>
#include <utility>

#include "platform/host/identity/privileges.h"
#include "platform/host/identity/token_facts.h"
#include "platform/host/kernel/handle_table.h"
#include "platform/host/processes/token_types.h"

namespace host {

// Unchanging but for the privileges, so any thread may look at it. Reached through ObjectOf<TokenObject>(handle,
// TOKEN_...).
class TokenObject : public KernelObject {
 public:
  // `privileges` null: those of another process's token, which cannot be reached from here.
  TokenObject(TokenFacts facts, TOKEN_TYPE type, std::shared_ptr<host::Privileges> privileges = CopyOf(nullptr))
      : facts_(std::move(facts)), type_(type), privileges_(std::move(privileges)) {}

  const char* Kind() const override { return "token"; }
  const TokenFacts& Facts() const { return facts_; }
  TOKEN_TYPE Type() const { return type_; }
  const std::shared_ptr<host::Privileges>& Privileges() const { return privileges_; }

 private:
  const TokenFacts facts_;
  const TOKEN_TYPE type_;
  const std::shared_ptr<host::Privileges> privileges_;
};

// The side of a process object that OpenProcessToken asks: process objects derive from this too.
class TokenHolder {
 public:
  virtual ~TokenHolder() = default;
  // The process's primary token. Any thread.
  virtual TokenFacts Token() const = 0;
};

}  // namespace host
