#include "auth/process_token.h"

#include "common/access_token.h"
#include "platform/errors.h"
#include "platform/processes.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

Common::UniqueHandle OpenTokenOfProcess(DWORD processId, DWORD access) {
  Common::UniqueHandle token;
  const Common::UniqueHandle process(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, processId));
  if (process) OpenProcessToken(process.Get(), access, token.Receive());
  return token;
}

bool IsLocalSystem(PSID user) {
  SID localSystem{SID_REVISION, 1, SECURITY_NT_AUTHORITY, {SECURITY_LOCAL_SYSTEM_RID}};
  return IsValidSid(user) && IsValidSid(&localSystem) && EqualSid(user, &localSystem);
}

}  // namespace

bool IsLocalSystemProcess(DWORD processId) {
  Common::UniqueHandle opened = OpenTokenOfProcess(processId, TOKEN_QUERY);
  if (!opened) return false;
  const Common::CAccessToken token(opened.Release());
  Common::CSid user;
  return token.GetUser(user) && IsLocalSystem(user.Get());
}

Common::UniqueHandle DuplicateProcessToken(DWORD processId) {
  Common::UniqueHandle primary;
  if (processId == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return primary;
  }
  const Common::UniqueHandle token = OpenTokenOfProcess(processId, TOKEN_DUPLICATE);
  if (!token) return primary;
  if (!DuplicateTokenEx(token.Get(), MAXIMUM_ALLOWED, nullptr, SecurityIdentification, TokenPrimary,
                        primary.Receive())) {
    DebugLog(W("hkd04a7, fail dup token=0x%08x\n"), GetLastError());
  }
  return primary;
}

}  // namespace Quorvex::PC::Hkd04a7::Service
