#include "machine/named_events.h"

#include <algorithm>
#include <utility>

#include "platform/host/base/error_codes.h"
#include "platform/host/kernel/sync.h"

namespace machine {

NamedEvents::NamedEvents(std::shared_ptr<host::NamedEventMap> map) : map_(std::move(map)) {
  for (unsigned slot = host::kNamedEventSlots; slot-- > 0;) {
    map_->words[slot] = 0;
    freeSlots_.push_back(slot);
  }
}

NamedEventAnswer NamedEvents::Create(HolderId holder, const host::Identity& caller,
                                     const NamedEventSettings& settings) {
  if (const auto found = events_.find(settings.name); found != events_.end()) {
    const bool granted = caller.isSystem || host::AccessGranted(found->second.sddl, caller, EVENT_ALL_ACCESS);
    return granted ? Hold(found->second, holder, true) : NamedEventAnswer{ERROR_ACCESS_DENIED};
  }
  if (freeSlots_.empty()) return {ERROR_NO_SYSTEM_RESOURCES};
  const unsigned slot = freeSlots_.back();
  freeSlots_.pop_back();
  map_->words[slot] = settings.signalled ? 1 : 0;
  Event& event = events_[settings.name] = {slot, settings.manual, settings.sddl, {}};
  return Hold(event, holder, false);
}

NamedEventAnswer NamedEvents::Open(HolderId holder, const host::Identity& caller, const std::string& name,
                                   DWORD access) {
  const auto found = events_.find(name);
  if (found == events_.end()) return {ERROR_FILE_NOT_FOUND};
  if (!host::AccessGranted(found->second.sddl, caller, access)) return {ERROR_ACCESS_DENIED};
  return Hold(found->second, holder, true);
}

DWORD NamedEvents::Close(HolderId holder, unsigned slot) {
  const auto event = std::ranges::find_if(events_, [slot](const auto& entry) { return entry.second.slot == slot; });
  if (event == events_.end()) return ERROR_INVALID_HANDLE;
  auto& holds = event->second.holds;
  const auto hold = holds.find(holder);
  if (hold == holds.end()) return ERROR_INVALID_HANDLE;
  if (--hold->second == 0) holds.erase(hold);
  ClearIfUnheld(event);
  return ERROR_SUCCESS;
}

void NamedEvents::ReleaseHolder(HolderId holder) {
  for (auto event = events_.begin(); event != events_.end();) {
    const auto next = std::next(event);
    if (event->second.holds.erase(holder) > 0) ClearIfUnheld(event);
    event = next;
  }
}

std::vector<NamedEventStatus> NamedEvents::List() const {
  std::vector<NamedEventStatus> list;
  for (const auto& [name, event] : events_) {
    unsigned holds = 0;
    for (const auto& [holder, count] : event.holds) holds += count;
    list.push_back({name, event.sddl, (map_->words[event.slot] & 1) != 0, holds});
  }
  return list;
}

NamedEventAnswer NamedEvents::Hold(Event& event, HolderId holder, bool existed) {
  ++event.holds[holder];
  return {ERROR_SUCCESS, event.slot, event.manual, existed};
}

void NamedEvents::ClearIfUnheld(Events::iterator event) {
  if (!event->second.holds.empty()) return;
  map_->words[event->second.slot] = 0;
  freeSlots_.push_back(event->second.slot);
  events_.erase(event);
}

}  // namespace machine
