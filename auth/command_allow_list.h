// The programs that may be run with system rights: clients name an identifier, the device's software key says which
// program and which fixed parameters it stands for.
#pragma once

#include <span>

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

// The subkey of the device's software key that holds the list.
inline constexpr const WCHAR* kCommandKey = W("Extension\\Command");

struct AllowedCommand {
  WideString application;  // the path as it is to be started; empty: not allowed
  WideString parameters;   // go behind it on the command line
};

// An entry's data, the strings of a REG_MULTI_SZ: the first is the application, the second the parameters, what follows
// is ignored. What is missing is empty.
AllowedCommand DecodeAllowedCommand(std::span<const WCHAR> strings);

// The entry of `identifier`, looked up anew each time; with an empty application when there is none or it cannot be
// read. Called with the service's own identity. May throw std::bad_alloc.
AllowedCommand GetAllowedCommand(const WCHAR* identifier);

}  // namespace Quorvex::PC::Hkd04a7::Service
