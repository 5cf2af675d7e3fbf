// What woke the machine: asked of the device after every start and every resume, kept in the wake-up record.
#pragma once

#include <cstdint>

#include "service/service_context.h"
#include "service/service_host.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Whether a button wake answer names a source: bits 8 to 15 hold 3 (IR operation) or 4 (one-touch button).
constexpr bool NamesWakeButton(std::uint32_t answer) {
  return (answer & 0xFF00u) == 0x300u || (answer & 0xFF00u) == 0x400u;
}

// Records what woke the machine unless that is done already for this resume, then announces event 37 and polls the
// device. Worker's thread.
void RunWakeCheck(CServiceHost& host, CServiceContext& context);

}  // namespace Quorvex::PC::Hkd04a7::Service
