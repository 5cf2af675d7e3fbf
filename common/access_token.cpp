#include "common/access_token.h"

#include <new>
#include <utility>

#include "common/handles.h"
#include "platform/errors.h"
#include "platform/processes.h"
#include "platform/threads.h"

namespace Quorvex::PC::Common {
namespace {

// Ends the impersonation of the call that this thread serves. The last error stays that of the failure before.
bool RevertToSelf() {
  const DWORD lastError = GetLastError();
  const RPC_STATUS status = RpcRevertToSelfEx(nullptr);
  SetLastError(lastError);
  return status == RPC_S_OK;
}

}  // namespace

CAccessToken::~CAccessToken() {
  Release();
}

void CAccessToken::Clear() {
  Release();
}

void CAccessToken::Release() {
  const UniqueHandle closing(std::exchange(token, nullptr));
  if (const HANDLE profile = std::exchange(userProfile, nullptr); profile != nullptr) {
    const DWORD lastError = GetLastError();
    UnloadUserProfile(closing.Get(), profile);
    SetLastError(lastError);
  }
  revert_.reset();
}

bool CAccessToken::OpenRPCClientToken() {
  if (const RPC_STATUS status = RpcImpersonateClient(nullptr); status != RPC_S_OK) {
    // The runtime answers statuses and leaves the last error alone; callers report the last error.
    SetLastError(static_cast<DWORD>(status));
    return false;
  }
  UniqueHandle opened;
  if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, opened.Receive())) {
    RevertToSelf();
    return false;
  }
  Clear();
  token = opened.Release();
  revert_.reset(new (std::nothrow) CRpcRevertToSelfEx(nullptr));
  // Without a way back the thread must not go on as its client.
  if (revert_ == nullptr && !RevertToSelf()) TerminateProcess(GetCurrentProcess(), 0);
  return true;
}

bool CAccessToken::Revert() {
  if (const std::unique_ptr<CRevert> revert = std::move(revert_)) return revert->Revert();
  return SetThreadToken(nullptr, nullptr) != FALSE;
}

bool CAccessToken::GetUser(CSid& user) const {
  const DWORD lastError = GetLastError();
  DWORD size = 0;
  if (GetTokenInformation(token, TokenUser, nullptr, 0, &size) || GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    return false;
  }
  const std::unique_ptr<BYTE[]> information(new (std::nothrow) BYTE[size]);
  if (information == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
  }
  if (!GetTokenInformation(token, TokenUser, information.get(), size, &size)) return false;
  if (!user.Assign(reinterpret_cast<const TOKEN_USER*>(information.get())->User.Sid)) return false;
  // Asking for the size was no failure.
  SetLastError(lastError);
  return true;
}

}  // namespace Quorvex::PC::Common
