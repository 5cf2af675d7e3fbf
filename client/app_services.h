// Registrations of packaged applications' app services: which of them the service tells about which events.
//
// Registrations are kept with the user who makes the call and last until they are removed. All calls block until the
// service answers and may come from any thread. Asynchronously: client/call_thread.h.
#pragma once

#include <optional>

#include "client/connection.h"
#include "client/status.h"
#include "platform/types.h"

namespace client {

// What a registration is for. Registrations for every occurrence and for one value of data1 are apart.
struct AppServiceEvent {
  DWORD eventId = 0;
  std::optional<DWORD> data1;  // none: every occurrence of the event
};

class AppServices {
 public:
  // `connection` is open and outlives this object.
  explicit AppServices(Connection& connection);

  // Registers, for the event, the app service of the package. A package has one app service for each event; another one
  // takes its place. Names are not checked, but delivered only up to 199 (package) and 198 (app service) characters.
  // Refused with 0x80004005 where the service cannot tell who calls, else with the registry's code (0x8007xxxx).
  Status Register(const WideString& packageFamilyName, const WideString& appServiceName, const AppServiceEvent& event);

  // Removes it. 0x80070002 where there is none.
  Status Unregister(const WideString& packageFamilyName, const AppServiceEvent& event);

  // Success where exactly this app service (upper and lower case differ) is registered; result 1 (S_FALSE) where
  // another one is, 0x80070002 where none is, 0x800700EA where the registered name has 40 characters or more.
  Status Query(const WideString& packageFamilyName, const WideString& appServiceName, const AppServiceEvent& event);

 private:
  Status CallRegister(const WideString& packageFamilyName, const WideString& appServiceName,
                      const AppServiceEvent& event, DWORD flags);

  Connection& connection_;
};

}  // namespace client
