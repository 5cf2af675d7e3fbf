#include "tests/support/callers.h"

namespace support {

host::TokenFacts DesktopCaller(const std::string& userSid, std::uint32_t session) {
  host::TokenFacts caller;
  caller.userSid = userSid;
  caller.session = session;
  return caller;
}

host::TokenFacts PackagedCaller(const std::string& packageFamilyName, std::uint32_t session) {
  host::TokenFacts caller = DesktopCaller(kUserSid, session);
  caller.packageFamilyName = packageFamilyName;
  return caller;
}

host::TokenFacts ContainerCaller(bool withCapability, const std::string& packageFamilyName) {
  host::TokenFacts caller = PackagedCaller(packageFamilyName);
  caller.appContainer = true;
  if (withCapability) caller.capabilities = {kHardwareSettingsCapability};
  return caller;
}

}  // namespace support
