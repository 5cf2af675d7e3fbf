// The operations event.create, event.open and event.close of the control socket. Loop thread only.
#pragma once

#include <functional>

#include "machine/named_events.h"

namespace machine {

class Connection;
class OpRegistry;

// Adds the operations. `identify` says who is at the other end of a connection; `events` and `operations`
// outlive the connections.
void AddNamedEventOps(OpRegistry& operations, NamedEvents& events,
                      std::function<host::Identity(const Connection&)> identify);

}  // namespace machine
