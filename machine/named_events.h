// The machine's named events: names, descriptors and who holds what. The state of each lies in a slot of the map that
// every process shares (platform/host/kernel/named_event_map.h).
//
// An event lives as long as somebody holds it; then its name is free and its slot is cleared. A holder is a connection;
// it may hold an event several times, once for each handle. One thread at a time.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/host/base/types.h"
#include "platform/host/kernel/named_event_map.h"
#include "platform/host/security/sddl.h"

namespace machine {

using HolderId = std::uint64_t;

struct NamedEventAnswer {
  DWORD error = 0;  // a Win32 code; the rest counts only when it is 0
  unsigned slot = 0;
  bool manual = false;
  bool existed = false;
};

struct NamedEventSettings {
  std::string name;  // UTF-8, with its prefix; case matters
  bool manual = false;
  bool signalled = false;
  std::string sddl;  // empty: everyone may do everything
};

struct NamedEventStatus {
  std::string name;
  std::string sddl;
  bool signalled = false;
  unsigned holds = 0;
};

class NamedEvents {
 public:
  explicit NamedEvents(std::shared_ptr<host::NamedEventMap> map);

  // Makes the event, or takes one more hold on the existing one as it is. 5 when the existing one does not grant
  // `caller` all access and the caller is not LocalSystem; 1450 when all slots are taken.
  NamedEventAnswer Create(HolderId holder, const host::Identity& caller, const NamedEventSettings& settings);

  // Takes a hold on an existing event: 2 when there is none, 5 when it does not grant `caller` every right of `access`.
  NamedEventAnswer Open(HolderId holder, const host::Identity& caller, const std::string& name, DWORD access);

  // Gives one hold back; 6 when `holder` has none on that slot.
  DWORD Close(HolderId holder, unsigned slot);

  // Gives back all that a holder has; for a connection that ended.
  void ReleaseHolder(HolderId holder);

  // By name.
  std::vector<NamedEventStatus> List() const;

 private:
  struct Event {
    unsigned slot;
    bool manual;
    std::string sddl;
    std::map<HolderId, unsigned> holds;
  };
  using Events = std::map<std::string, Event>;

  NamedEventAnswer Hold(Event& event, HolderId holder, bool existed);
  void ClearIfUnheld(Events::iterator event);

  const std::shared_ptr<host::NamedEventMap> map_;
  Events events_;
  std::vector<unsigned> freeSlots_;  // the lowest last
};

}  // namespace machine
