// The way to the scheduler in the machine's daemon.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "platform/host/automation/automation.h"

namespace host::task_scheduler {

// One operation of the scheduler. S_OK with its answer in `reply`, or the failure as an HRESULT: 0x800706BA when the
// machine is not up.
HRESULT AskScheduler(const char* operation, nlohmann::json body, nlohmann::json* reply);

// The text as UTF-8; empty for null.
std::string ToText(BSTR text);

// Names a connection that Connect made; the scheduler knows it until it is stopped.
using Connection = std::uint64_t;

}  // namespace host::task_scheduler
