// Getting handles of tokens: of a thread, of a process, as a copy of another.
#include <memory>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/kernel/threads.h"
#include "platform/host/processes/effective_token.h"
#include "platform/host/processes/token_object.h"
#include "platform/host/processes/tokens.h"

namespace {

constexpr DWORD kKnownRights = TOKEN_ALL_ACCESS | MAXIMUM_ALLOWED;
constexpr DWORD kProcessQueryInformation = 0x0400;

// The rights that a handle opened for `access` has.
DWORD Granted(const char* call, DWORD access) {
  if ((access & ~kKnownRights) != 0) host::Unsupported(call, "access other than rights of a token");
  return (access & MAXIMUM_ALLOWED) != 0 ? TOKEN_ALL_ACCESS : access;
}

BOOL OpenToken(const host::TokenFacts& facts, TOKEN_TYPE type, DWORD granted, PHANDLE token,
               std::shared_ptr<host::Privileges> privileges = host::CopyOf(nullptr)) {
  *token = host::OpenHandle(std::make_shared<host::TokenObject>(facts, type, std::move(privileges)), granted);
  return TRUE;
}

bool IsOwnProcess(HANDLE process) {
  return reinterpret_cast<LONG_PTR>(process) == -1;
}

}  // namespace

BOOL OpenThreadToken(HANDLE thread, DWORD access, BOOL openAsSelf, PHANDLE token) {
  if (const auto code = host::InjectedFailure("OpenThreadToken")) return host::FailWith(*code);
  if (thread != GetCurrentThread()) host::Unsupported("OpenThreadToken", "thread other than the calling one");
  if (!openAsSelf) host::Unsupported("OpenThreadToken", "openAsSelf FALSE");
  const DWORD granted = Granted("OpenThreadToken", access);
  const auto impersonated = host::ThreadToken();
  if (impersonated == nullptr) return host::FailWith(ERROR_NO_TOKEN);
  if (!host::MayOpen(host::OwnToken(), *impersonated)) return host::FailWith(ERROR_ACCESS_DENIED);
  return OpenToken(*impersonated, TokenImpersonation, granted, token);
}

BOOL SetThreadToken(PHANDLE thread, HANDLE token) {
  if (const auto code = host::InjectedFailure("SetThreadToken")) return host::FailWith(*code);
  if (thread != nullptr) host::Unsupported("SetThreadToken", "thread not null");
  if (token == nullptr) {
    host::SetThreadToken(nullptr);
    return TRUE;
  }
  const auto object = host::ObjectOf<host::TokenObject>(token, TOKEN_IMPERSONATE);
  if (object == nullptr) return FALSE;
  if (object->Type() != TokenImpersonation) return host::FailWith(ERROR_BAD_TOKEN_TYPE);
  host::SetThreadToken(std::make_shared<const host::TokenFacts>(object->Facts()));
  return TRUE;
}

BOOL OpenProcessToken(HANDLE process, DWORD access, PHANDLE token) {
  if (const auto code = host::InjectedFailure("OpenProcessToken")) return host::FailWith(*code);
  const DWORD granted = Granted("OpenProcessToken", access);
  if (IsOwnProcess(process)) {
    return OpenToken(host::OwnToken(), TokenPrimary, granted, token, host::OwnPrivileges());
  }
  const auto holder = host::ObjectOf<host::TokenHolder>(process, kProcessQueryInformation);
  if (holder == nullptr) return FALSE;
  const host::TokenFacts facts = holder->Token();
  if (!host::MayOpen(host::EffectiveToken(), facts)) return host::FailWith(ERROR_ACCESS_DENIED);
  return OpenToken(facts, TokenPrimary, granted, token, nullptr);
}

BOOL DuplicateTokenEx(HANDLE token, DWORD access, LPSECURITY_ATTRIBUTES attributes, SECURITY_IMPERSONATION_LEVEL,
                      TOKEN_TYPE type, PHANDLE newToken) {
  if (const auto code = host::InjectedFailure("DuplicateTokenEx")) return host::FailWith(*code);
  if (attributes != nullptr) host::Unsupported("DuplicateTokenEx", "attributes not null");
  const DWORD granted = Granted("DuplicateTokenEx", access);
  const auto object = host::ObjectOf<host::TokenObject>(token, TOKEN_DUPLICATE);
  if (object == nullptr) return FALSE;
  return OpenToken(object->Facts(), type, granted, newToken, host::CopyOf(object->Privileges()));
}
