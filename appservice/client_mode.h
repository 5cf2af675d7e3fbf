// The program's second role: started in a user's session with "-appservice", it delivers one event to every app service
// that the user has registered for it, all at the same time, and ends when each delivery has reported its result.
#pragma once

#include <cstdint>

namespace Quorvex::PC::Hkd04a7 {

// Runs the whole role on the calling thread, which must not have joined a single-threaded apartment; blocks for the
// configured delay of the event and then until the last delivery has reported, without a limit. Event 0 is not
// delivered. No failure is answered: the debug log tells. Once in a process at a time.
void NotifyEventByUwpAppService(std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2);

}  // namespace Quorvex::PC::Hkd04a7
