#include "appservice/notify_needed.h"

#include "appservice/registration_keys.h"
#include "common/access_token.h"
#include "common/handles.h"
#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

// Reads a token that belongs to somebody else.
class BorrowedToken : public Common::CAccessToken {
 public:
  explicit BorrowedToken(HANDLE handle) : CAccessToken(handle) {}
  // Taken out before the holder closes what it holds.
  ~BorrowedToken() override { token = nullptr; }
};

bool HasValues(const WideString& path) {
  Common::UniqueRegistryKey key;
  DWORD values = 0;
  return RegOpenKeyExW(HKEY_USERS, path.c_str(), 0, KEY_READ, key.Receive()) == ERROR_SUCCESS &&
         RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr,
                          nullptr, nullptr) == ERROR_SUCCESS &&
         values != 0;
}

}  // namespace

bool IsNotifyNeeded(HANDLE userToken, DWORD eventId, DWORD data1) {
  Common::CSid user;
  if (!BorrowedToken(userToken).GetUser(user)) return false;
  const WideString& sid = user.Sid();
  return HasValues(FormatUserAppServiceKeyPath(sid, eventId, RegistrationScope::kEveryOccurrence, data1)) ||
         HasValues(FormatUserAppServiceKeyPath(sid, eventId, RegistrationScope::kOneData1, data1));
}

}  // namespace Quorvex::PC::Hkd04a7
