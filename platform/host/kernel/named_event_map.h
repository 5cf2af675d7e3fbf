// The memory of a machine's named events: the file `<runtime>/events.map`, one word a slot. The daemon
// hands the slots out and clears them; every process that holds an event maps the file.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/host/kernel/event_word.h"

namespace host {

constexpr std::size_t kNamedEventSlots = 1024;

struct NamedEventMap {
  EventWord words[kNamedEventSlots];
};

// Maps the file of the machine whose runtime folder is given, making it when `create` is set (mode 0600, all words 0).
// Null, with errno set, when it cannot be opened or is too short. The last owner unmaps it.
std::shared_ptr<NamedEventMap> OpenNamedEventMap(const std::string& runtime, bool create);

}  // namespace host
