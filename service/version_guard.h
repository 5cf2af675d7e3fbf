// The installed package's version, and what an old one means for the service.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

// The first number of a dotted version text, read as "%u" reads it; none when the text does not begin with a number.
std::optional<std::uint32_t> FirstVersionNumber(const WCHAR* version);

// True when "CurrentVersion" is a text that is not empty.
bool HasInstalledVersion();

// True when the installed version is 3 or less: this service does not belong to that package.
bool IsInstalledVersionTooOld();

// Makes the service one that is started on demand only; failures are ignored.
void SetServiceToDemandStart();

}  // namespace Quorvex::PC::Hkd04a7::Service
