// The users' registrations as they stand: keys that nobody reads, values that are skipped, packages told twice.
#include <algorithm>

#include "tools/doctor_listings.h"
#include "tools/doctor_rules.h"
#include "tools/event_text.h"
#include "tools/numbers.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

// Room for a name in the answer to the question whether it is registered, in bytes.
constexpr std::size_t kQueryRoom = 80;

Place KeyPlace(const UserRegistrations& user, const WideString& key = {}, std::optional<std::string> value = {}) {
  std::string path = "HKU\\" + user.sid + '\\' + kRegistrationsSubKey;
  if (!key.empty()) path += '\\' + ToNarrow(key);
  return {path, 64, std::move(value)};
}

// Calls `look` with each registration key and its number or numbers, if its name has them.
template <typename Look>
void ForEachKey(const Snapshot& snapshot, Look look) {
  for (const UserRegistrations& user : snapshot.registry.users)
    for (const KeyTree& key : user.keys.subKeys) look(KeyPlace(user, key.name), ReadEventKeyName(key.name), key);
}

Findings RegistrationsOutsideKeys(const Snapshot& snapshot) {
  Findings found;
  for (const UserRegistrations& user : snapshot.registry.users)
    for (const RegistryKey::Named& value : user.keys.values)
      found.push_back({Severity::Error, KeyPlace(user, {}, ToNarrow(value.name)),
                       "registrations stand in the key of an event, below this one; here nobody reads them",
                       "hkd04a7ctl app register PACKAGE SERVICE --event N"});
  return found;
}

Findings UnknownKeys(const Snapshot& snapshot) {
  Findings found;
  ForEachKey(snapshot, [&](const Place& place, const std::optional<EventKeyName>& name, const KeyTree& key) {
    const std::string why = name ? WhyNoSuchEvent(name->event) : "";
    if (!name)
      found.push_back({Severity::Error, place,
                       "the key is looked for as <event> or <event>-<data1>, decimal numbers without zeros in front; "
                       "this one is never read",
                       "hkd04a7ctl app register writes the right one"});
    else if (!why.empty())
      found.push_back({Severity::Error, place, why + ": nobody is told by this key"});
    for (const KeyTree& below : key.subKeys)
      found.push_back({Severity::Error,
                       {place.key + '\\' + ToNarrow(below.name), 64, std::nullopt},
                       "registrations for one data1 stand beside the event's key, as <event>-<data1>; this one is "
                       "never read",
                       "hkd04a7ctl app register --event N --data1 N writes the right one"});
  });
  return found;
}

Findings UnknownData1(const Snapshot& snapshot) {
  Findings found;
  ForEachKey(snapshot, [&](const Place& place, const std::optional<EventKeyName>& name, const KeyTree&) {
    if (!name || !name->data1 || !WhyNoSuchEvent(name->event).empty()) return;
    const std::string why = WhyNoSuchData1(name->event, *name->data1);
    if (!why.empty())
      found.push_back({Severity::Error, place,
                       "event " + std::to_string(name->event) + " never comes with this data1: " + why,
                       "hkd04a7ctl watch shows the data words of an event"});
  });
  return found;
}

Findings WrongTypes(const Snapshot& snapshot) {
  Findings found;
  for (const Registration& one : ReadRegistrations(snapshot.registry))
    if (one.value.type != REG_SZ)
      found.push_back({Severity::Error, one.Where(),
                       "the value is of type " + TypeName(one.value.type) +
                           ", and only sz is taken: it is skipped, though the client mode is started for it",
                       "hkd04a7ctl app register writes it as it must be"});
  return found;
}

Findings LongNames(const Snapshot& snapshot) {
  Findings found;
  for (const Registration& one : ReadRegistrations(snapshot.registry)) {
    if (one.package.size() >= kNameRoom)
      found.push_back({Severity::Error, one.Where(),
                       "the package family name has " + std::to_string(one.package.size()) +
                           " characters; names of 200 and more are skipped"});
    else if (one.value.type == REG_SZ && one.value.data.size() >= kServiceRoom)
      found.push_back({Severity::Error, one.Where(),
                       "the app service's name has " + std::to_string(one.Service().size()) +
                           " characters; those of more than 198 are skipped"});
  }
  return found;
}

Findings EmptyNames(const Snapshot& snapshot) {
  Findings found;
  for (const Registration& one : ReadRegistrations(snapshot.registry)) {
    const bool noService = one.value.type == REG_SZ && one.Service().empty();
    if (!one.package.empty() && !noService) continue;
    const std::string lacks =
        one.package.empty() ? "the key's default value names no package" : "no app service is named";
    found.push_back(
        {Severity::Error, one.Where(), lacks + ": the delivery fails each time", DeleteCommand(one.Where())});
  }
  return found;
}

// The service itself asks with room for 39 characters.
Findings NamesThatCannotBeQueried(const Snapshot& snapshot) {
  Findings found;
  for (const Registration& one : ReadRegistrations(snapshot.registry))
    if (IsDelivered(one) && one.value.data.size() > kQueryRoom)
      found.push_back(
          {Severity::Note, one.Where(),
           "a client that asks whether this app service is registered is answered 0x800700EA: names of more "
           "than 39 characters are not compared. Events are delivered"});
  return found;
}

Findings ToldTwice(const Snapshot& snapshot) {
  const auto registrations = ReadRegistrations(snapshot.registry);
  Findings found;
  for (const Registration& one : registrations) {
    const auto isForEvery = [&](const Registration& other) {
      return IsDelivered(other) && other.sid == one.sid && other.key.event == one.key.event && !other.key.data1 &&
             SameName(other.package, one.package);
    };
    if (one.key.data1 && IsDelivered(one) && std::any_of(registrations.begin(), registrations.end(), isForEvery))
      found.push_back({Severity::Warning, one.Where(),
                       "the package is registered for every occurrence too, so it is told twice of event " +
                           std::to_string(one.key.event) + " with data1 " + Hex(*one.key.data1),
                       DeleteCommand(one.Where())});
  }
  return found;
}

Findings RegistrationsWithoutSource(const Snapshot& snapshot) {
  Findings found;
  if (!snapshot.machine.device) return found;
  ForEachKey(snapshot, [&](const Place& place, const std::optional<EventKeyName>& name, const KeyTree&) {
    const std::string why = name ? WhyNoSource(name->event, *snapshot.machine.device) : "";
    if (!why.empty()) found.push_back({Severity::Note, place, why + ": nobody is told by this key"});
  });
  return found;
}

Findings UsersNotLookedAt(const Snapshot& snapshot) {
  std::string names;
  for (const UserFact& user : snapshot.machine.users.value_or(std::vector<UserFact>()))
    if (!user.loggedOn) names += (names.empty() ? "" : ", ") + user.name;
  if (names.empty()) return {};
  return {{Severity::Note,
           {},
           "not logged on, so their registrations cannot be looked at: " + names,
           "hkd04a7ctl logon USER"}};
}

constexpr Rule kRegistrationRules[] = {
    {"registration-outside-keys", RegistrationsOutsideKeys},
    {"unknown-registration-key", UnknownKeys},
    {"unknown-registration-data1", UnknownData1},
    {"registration-type", WrongTypes},
    {"long-registration-name", LongNames},
    {"empty-registration-name", EmptyNames},
    {"told-twice", ToldTwice},
    {"registration-without-source", RegistrationsWithoutSource},
    {"name-not-queried", NamesThatCannotBeQueried},
    {"user-not-loaded", UsersNotLookedAt},
};

}  // namespace

std::span<const Rule> RegistrationRules() {
  return kRegistrationRules;
}

}  // namespace tool::doctor
