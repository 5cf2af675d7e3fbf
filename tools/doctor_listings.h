// The lists of the registry as their readers see them, row by row. Pure functions.
#pragma once

#include "tools/doctor_finding.h"
#include "tools/doctor_names.h"
#include "tools/doctor_snapshot.h"

namespace tool::doctor {

// Names of tasks and packages are read into this many characters, the terminator included.
inline constexpr std::size_t kNameRoom = 200;
// The name of an app service is read into this many bytes; a reader skips one that fills them.
inline constexpr std::size_t kServiceRoom = 400;

// One task in a handler list.
struct Listing {
  int view = 64;
  std::uint32_t event = 0;
  std::optional<std::uint32_t> data1;  // none: for every occurrence
  WideString task;

  Place Where() const;
  std::string When() const;  // "event 32 (one-touch button) with data1 0x40000401"
};

// What the service reads: lists of numbers that it looks for, names that fit, the unnamed value too.
std::vector<Listing> ReadListings(const RegistrySnapshot& registry);

// One app service in a user's registrations.
struct Registration {
  std::string sid;
  std::string keyName;  // "32", "32-1073742849"
  EventKeyName key;
  WideString package;
  RegistryValue value;

  Place Where() const;
  WideString Service() const { return FirstText(value); }
};

// What stands in keys that the client mode looks for, whether or not it takes the value.
std::vector<Registration> ReadRegistrations(const RegistrySnapshot& registry);

// Whether the client mode takes the value and starts a delivery.
bool IsDelivered(const Registration& registration);

}  // namespace tool::doctor
