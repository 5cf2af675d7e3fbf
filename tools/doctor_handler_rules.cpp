// The handler lists as they stand: keys that nobody reads, names that do not fit, tasks that run twice.
#include <algorithm>

#include "tools/doctor_listings.h"
#include "tools/doctor_rules.h"
#include "tools/event_text.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

Place ListPlace(const HandlerLists& view, const WideString& subKey, std::optional<std::string> value = std::nullopt) {
  return {std::string(kEventsKey) + (subKey.empty() ? "" : '\\' + ToNarrow(subKey)), view.view, std::move(value)};
}

// Calls `look` with each list that is read: its path below "Events" and the key.
template <typename Look>
void ForEachList(const HandlerLists& view, Look look) {
  for (const KeyTree& event : view.events.subKeys) {
    if (!ReadNumber(event.name)) continue;
    look(event.name, event);
    for (const KeyTree& list : event.subKeys)
      if (ReadNumber(list.name)) look(event.name + W('\\') + list.name, list);
  }
}

std::string RenameAdvice(const WideString& name, const char* example) {
  const auto meant = GuessNumber(name);
  return meant ? "name the key " + std::to_string(*meant) : std::string("name the key by a decimal number, ") + example;
}

bool LooksLikeData1List(const WideString& name) {
  const auto key = ReadEventKeyName(name);
  return key && key->data1;
}

Findings TasksOutsideLists(const Snapshot& snapshot) {
  Findings found;
  for (const HandlerLists& view : snapshot.registry.handlers)
    for (const RegistryKey::Named& value : view.events.values)
      found.push_back({Severity::Error, ListPlace(view, {}, ToNarrow(value.name)),
                       "tasks are listed in the key of an event, below this one; here nobody reads them",
                       "list it in the event's key: " + std::string(kEventsKey) + "\\32 for the one-touch button"});
  return found;
}

Findings UnknownEvents(const Snapshot& snapshot) {
  Findings found;
  for (const HandlerLists& view : snapshot.registry.handlers)
    for (const KeyTree& event : view.events.subKeys) {
      const Place place = ListPlace(view, event.name);
      if (const auto number = ReadNumber(event.name)) {
        const std::string why = WhyNoSuchEvent(*number);
        if (!why.empty()) found.push_back({Severity::Error, place, why + ": this list is never run"});
      } else if (!LooksLikeData1List(event.name)) {
        found.push_back({Severity::Error, place,
                         "the key is looked for by the event's identifier, a decimal number without zeros in front; "
                         "this one is never read",
                         RenameAdvice(event.name, "1 to 42")});
      }
    }
  return found;
}

// A list for one data word lies below the event's own key, which is where it is looked for.
Findings Data1ListsWithoutEvent(const Snapshot& snapshot) {
  Findings found;
  for (const HandlerLists& view : snapshot.registry.handlers)
    for (const KeyTree& event : view.events.subKeys) {
      if (!LooksLikeData1List(event.name)) continue;
      const EventKeyName key = *ReadEventKeyName(event.name);
      const std::string path = std::to_string(key.event) + '\\' + std::to_string(*key.data1);
      found.push_back({Severity::Error, ListPlace(view, event.name),
                       "a list for one data1 is read below its event's own key only; this one is never read",
                       "move it to " + std::string(kEventsKey) + '\\' + path});
    }
  return found;
}

Findings Data1Lists(const Snapshot& snapshot) {
  Findings found;
  for (const HandlerLists& view : snapshot.registry.handlers)
    for (const KeyTree& event : view.events.subKeys) {
      const auto number = ReadNumber(event.name);
      if (!number || !WhyNoSuchEvent(*number).empty()) continue;
      for (const KeyTree& list : event.subKeys) {
        const Place place = ListPlace(view, event.name + W('\\') + list.name);
        const auto data1 = ReadNumber(list.name);
        const std::string why = data1 ? WhyNoSuchData1(*number, *data1) : "";
        if (!data1)
          found.push_back({Severity::Error, place,
                           "the key is looked for by data1 as a decimal number without zeros in front; this one is "
                           "never read",
                           RenameAdvice(list.name, "as hkd04a7ctl watch --json shows data1")});
        else if (!why.empty())
          found.push_back({Severity::Error, place,
                           "event " + ToNarrow(event.name) + " never comes with this data1: " + why,
                           "hkd04a7ctl watch shows the data words of an event"});
      }
    }
  return found;
}

Findings LongTaskNames(const Snapshot& snapshot) {
  Findings found;
  for (const HandlerLists& view : snapshot.registry.handlers)
    ForEachList(view, [&](const WideString& path, const KeyTree& list) {
      for (const RegistryKey::Named& value : list.values)
        if (value.name.size() >= kNameRoom)
          found.push_back(
              {Severity::Error, ListPlace(view, path, ToNarrow(value.name)),
               "the name has " + std::to_string(value.name.size()) + " characters; names of 200 and more are skipped",
               "register the task under a shorter path"});
    });
  return found;
}

Findings EmptyTaskNames(const Snapshot& snapshot) {
  Findings found;
  for (const Listing& listing : ReadListings(snapshot.registry))
    if (listing.task.empty())
      found.push_back({Severity::Error, listing.Where(),
                       "the key's default value is read as a task with an empty name, and there is none; each event "
                       "connects to the Task Scheduler anew in vain",
                       DeleteCommand(listing.Where())});
  return found;
}

Findings TwiceByView(const Snapshot& snapshot) {
  const auto listings = ReadListings(snapshot.registry);
  Findings found;
  for (const Listing& one : listings) {
    const auto isTwin = [&](const Listing& other) {
      return other.view == 64 && other.event == one.event && other.data1 == one.data1 && SameName(other.task, one.task);
    };
    if (one.view == 32 && std::any_of(listings.begin(), listings.end(), isTwin))
      found.push_back({Severity::Warning, one.Where(),
                       "listed in the 64-bit view too, so it runs twice for " + one.When(),
                       DeleteCommand(one.Where())});
  }
  return found;
}

Findings TwiceByData1(const Snapshot& snapshot) {
  const auto listings = ReadListings(snapshot.registry);
  Findings found;
  for (const Listing& one : listings) {
    const auto isForEvery = [&](const Listing& other) {
      return other.event == one.event && !other.data1 && SameName(other.task, one.task);
    };
    if (one.data1 && std::any_of(listings.begin(), listings.end(), isForEvery))
      found.push_back({Severity::Warning, one.Where(),
                       "listed for every occurrence too, so it runs twice for " + one.When(),
                       DeleteCommand(one.Where())});
  }
  return found;
}

Findings HandlersWithoutSource(const Snapshot& snapshot) {
  Findings found;
  if (!snapshot.machine.device) return found;
  for (const HandlerLists& view : snapshot.registry.handlers)
    for (const KeyTree& event : view.events.subKeys) {
      const auto number = ReadNumber(event.name);
      const std::string why = number ? WhyNoSource(*number, *snapshot.machine.device) : "";
      if (!why.empty()) found.push_back({Severity::Note, ListPlace(view, event.name), why + ": the list is never run"});
    }
  return found;
}

constexpr Rule kHandlerRules[] = {
    {"task-outside-lists", TasksOutsideLists},
    {"unknown-event", UnknownEvents},
    {"data1-list-alone", Data1ListsWithoutEvent},
    {"unknown-data1", Data1Lists},
    {"long-task-name", LongTaskNames},
    {"empty-task-name", EmptyTaskNames},
    {"task-in-both-views", TwiceByView},
    {"task-for-event-and-data1", TwiceByData1},
    {"handler-without-source", HandlersWithoutSource},
};

}  // namespace

std::span<const Rule> HandlerRules() {
  return kHandlerRules;
}

}  // namespace tool::doctor
