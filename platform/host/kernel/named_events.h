// Named events from the side of a process that uses them: the daemon keeps names, holders and descriptors, the
// state lies in the shared map.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/host/kernel/event_object.h"

namespace host {

// How the platform checks an object's name: 0; ERROR_FILENAME_EXCED_RANGE (206) over 259 characters,
// ERROR_PATH_NOT_FOUND (3) with a '\' after the prefix "Global\" or "Local\".
DWORD CheckObjectName(std::u16string_view name);

struct NamedEventRequest {
  std::u16string_view name;  // as given by the caller
  EventReset reset = EventReset::Automatic;
  bool signalled = false;
  std::string sddl;  // empty: the default descriptor
};

struct NamedEventResult {
  std::shared_ptr<EventObject> event;  // holds the name until it goes
  bool existed = false;
};

// Both return 0 or the code to fail with, the link's included. They wait for the daemon.
DWORD CreateNamedEvent(const NamedEventRequest& request, NamedEventResult* result);
DWORD OpenNamedEvent(std::u16string_view name, DWORD access, NamedEventResult* result);

}  // namespace host
