// The owner of an access token and, while a thread impersonates an RPC client through it, of the way back.
//
// Impersonation is a window to be kept short: between a successful OpenRPCClientToken and Revert a caller only asks the
// token, and acts on what it learnt after Revert.
#pragma once

#include <memory>

#include "common/revert.h"
#include "common/sid.h"
#include "platform/tokens.h"

namespace Quorvex::PC::Common {

// An object belongs to one thread at a time. Closing leaves the last error as it was.
class CAccessToken {
 public:
  CAccessToken() = default;
  // Takes `handle` over.
  explicit CAccessToken(HANDLE handle) : token(handle) {}
  CAccessToken(const CAccessToken&) = delete;
  CAccessToken& operator=(const CAccessToken&) = delete;
  // As Clear.
  virtual ~CAccessToken();

  // Unloads the user profile, closes the token and forgets the way back without taking it.
  virtual void Clear();

  // The token held, null when there is none; it stays the holder's.
  HANDLE Get() const { return token; }

  // On the thread that serves an RPC call: impersonates its client and opens the client's token for TOKEN_QUERY. True:
  // the thread impersonates until Revert. False: it does not, and the last error tells why.
  bool OpenRPCClientToken();

  // Ends the impersonation begun by OpenRPCClientToken, or, where nothing is known of one, makes sure of the thread's
  // own identity. False when that failed.
  bool Revert();

  // Copies the SID of the token's user. False: the last error tells why, and `user` is as it was. Allocates nothing
  // that could throw, so that it may be called while impersonating.
  bool GetUser(CSid& user) const;

 protected:
  HANDLE token = nullptr;
  HANDLE userProfile = nullptr;

 private:
  void Release();

  std::unique_ptr<CRevert> revert_;
};

}  // namespace Quorvex::PC::Common
