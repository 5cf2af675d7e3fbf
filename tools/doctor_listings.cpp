#include "tools/doctor_listings.h"

#include "tools/event_text.h"
#include "tools/numbers.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

void AddTasks(const KeyTree& list, Listing listing, std::vector<Listing>* listings) {
  for (const RegistryKey::Named& value : list.values) {
    if (value.name.size() >= kNameRoom) continue;
    listing.task = value.name;
    listings->push_back(listing);
  }
}

void AddView(const HandlerLists& view, std::vector<Listing>* listings) {
  for (const KeyTree& event : view.events.subKeys) {
    const auto number = ReadNumber(event.name);
    if (!number) continue;
    AddTasks(event, {view.view, *number, std::nullopt, {}}, listings);
    for (const KeyTree& list : event.subKeys)
      if (const auto data1 = ReadNumber(list.name)) AddTasks(list, {view.view, *number, data1, {}}, listings);
  }
}

}  // namespace

Place Listing::Where() const {
  std::string key = std::string(kEventsKey) + '\\' + std::to_string(event);
  if (data1) key += '\\' + std::to_string(*data1);
  return {key, view, ToNarrow(task)};
}

std::string Listing::When() const {
  return "event " + std::to_string(event) + " (" + EventSource(event) + ')' +
         (data1 ? " with data1 " + Hex(*data1) : "");
}

std::vector<Listing> ReadListings(const RegistrySnapshot& registry) {
  std::vector<Listing> listings;
  for (const HandlerLists& view : registry.handlers) AddView(view, &listings);
  return listings;
}

Place Registration::Where() const {
  return {"HKU\\" + sid + '\\' + kRegistrationsSubKey + '\\' + keyName, 64, ToNarrow(package)};
}

std::vector<Registration> ReadRegistrations(const RegistrySnapshot& registry) {
  std::vector<Registration> registrations;
  for (const UserRegistrations& user : registry.users)
    for (const KeyTree& list : user.keys.subKeys)
      if (const auto key = ReadEventKeyName(list.name))
        for (const RegistryKey::Named& value : list.values)
          registrations.push_back({user.sid, ToNarrow(list.name), *key, value.name, value.value});
  return registrations;
}

bool IsDelivered(const Registration& registration) {
  return registration.value.type == REG_SZ && registration.package.size() < kNameRoom &&
         registration.value.data.size() < kServiceRoom;
}

}  // namespace tool::doctor
