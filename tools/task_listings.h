// Which tasks the registry lists for which events, in both of its views. Calls answer Win32 codes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/types.h"
#include "tools/registry_path.h"

namespace tool {

// The service skips names of so many characters and more.
inline constexpr std::size_t kTaskNameRoom = 200;

struct TaskListing {
  bool view32 = false;
  WideString key;   // below the key of all events: "32", or "32\1073742849"
  WideString task;  // as it is written there
};

// Every listing there is; keys that are not there have none.
LSTATUS ReadTaskListings(std::vector<TaskListing>* listings);

LSTATUS AddTaskListing(const TaskListing& listing);
LSTATUS RemoveTaskListing(const TaskListing& listing);

// The key of an event, or of one value of its first data word.
WideString TaskListKey(std::uint32_t event, std::optional<std::uint32_t> data1);

// Whether a listing names the task with this path: in any letter case, with a backslash before it or without.
bool ListsTask(const TaskListing& listing, const WideString& path);

// "event 32 (one-touch button) with data1 0x40000401, 32-bit view"
std::string ListingText(const TaskListing& listing);

}  // namespace tool
