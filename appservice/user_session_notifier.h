// The bridge from the service to a user's session, where that user's app services can be reached.
#pragma once

#include <cstdint>

#include "service/service_context.h"

namespace Quorvex::PC::Hkd04a7 {

// Starts this very program in the session of one user, with that user's token and the event on its command line, when
// the user has a registration for the event. A session change goes to the user of the session it tells of, every other
// event to the user of the first active session; nobody else is told. The program is not waited for. Whatever fails is
// logged and leaves nothing behind.
//
// Worker's thread, with no lock held; nothing is kept between calls. May throw std::bad_alloc, and leaves nothing
// behind then either.
void UwpAssistNotify(const Service::CWtsSessionApi& wtsApi, std::uint32_t eventId, std::uint32_t data1,
                     std::uint32_t data2);

}  // namespace Quorvex::PC::Hkd04a7
