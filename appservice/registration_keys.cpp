#include "appservice/registration_keys.h"

#include "common/format.h"
#include "common/service_name.h"

namespace Quorvex::PC::Hkd04a7 {

WideString FormatAppServiceKeyPath(DWORD eventId, RegistrationScope scope, DWORD data1) {
  // The fixed text, the service's name and two numbers of at most ten digits.
  WCHAR path[128];
  if (scope == RegistrationScope::kOneData1) {
    Common::Format(path, W("Software\\Quorvex\\HKD04A7\\%s\\Events\\UwpAppService\\%u-%u"), Common::kServiceName,
                   eventId, data1);
  } else {
    Common::Format(path, W("Software\\Quorvex\\HKD04A7\\%s\\Events\\UwpAppService\\%u"), Common::kServiceName, eventId);
  }
  return path;
}

WideString FormatUserAppServiceKeyPath(const WideString& sid, DWORD eventId, RegistrationScope scope, DWORD data1) {
  return sid + W("\\") + FormatAppServiceKeyPath(eventId, scope, data1);
}

}  // namespace Quorvex::PC::Hkd04a7
