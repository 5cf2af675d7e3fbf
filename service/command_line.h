// The command line: a fixed option table, the walk over the arguments, and which of the two roles they select.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

struct CommandLineOption {
  const WCHAR* name;
  bool takesValue;   // consumes the next argument as its value
  bool endsParsing;  // seeing it ends the parse
  bool seen = false;
  const WCHAR* value = nullptr;  // belongs to the argument vector
};

struct CommandLineOptions {
  CommandLineOption service{W("-service"), false, true};
  CommandLineOption appService{W("-appservice"), false, false};
  CommandLineOption event{W("-event"), true, false};
  CommandLineOption data1{W("-data1"), true, false};
  CommandLineOption data2{W("-data2"), true, false};

  // The options in the order in which they are compared.
  std::array<CommandLineOption*, 5> Table() { return {&service, &appService, &event, &data1, &data2}; }
};

// Marks the options found in arguments[1] to arguments[argumentCount - 1]. The first occurrence of an option counts;
// arguments that match none are ignored. An argument that was consumed as a value is still compared with the options
// that follow in the table.
CommandLineOptions ParseCommandLine(int argumentCount, WCHAR* const* arguments);

// Whether the options select the delivery of one event to the user's app services instead of the service.
bool SelectsAppServiceMode(const CommandLineOptions& options);

struct CommandLineEvent {
  std::uint32_t eventId;
  std::uint32_t data1;
  std::uint32_t data2;
};

// The event that app-service mode delivers; none when one of "-event", "-data1" and "-data2" is missing.
std::optional<CommandLineEvent> EventOfCommandLine(const CommandLineOptions& options);

// Unsigned number with automatic base ("0x": 16, leading "0": 8, else 10), up to the first character that is not a
// digit of it; no digits give 0, too large a number 0xFFFFFFFF, a leading "-" negates modulo 2^32.
std::uint32_t ParseUnsigned(const WCHAR* text);

}  // namespace Quorvex::PC::Hkd04a7::Service
