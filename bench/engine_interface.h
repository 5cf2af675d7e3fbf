// An interface for measurements alone: a handle, and a call on it whose request and reply are as long as those of
// Hkd04a7Rpc_Device_CallFuncMethod and whose routine does nothing. What it costs is the RPC runtime's share.
#pragma once

#include "bench/prepared_calls.h"

namespace bench {

enum EngineProcedure : std::uint16_t { kEngineOpen, kEngineClose, kEngineCall, kEngineProcedureCount };

// The description behind, for servers as for clients.
extern const host::rpc::InterfaceDescription kEngineInterface;

// Puts it on the air, beside what the process's endpoint offers already.
bool OfferEngineInterface();

host::rpc::SyntaxId EngineInterface();
Target EngineTarget(EngineProcedure procedure);

}  // namespace bench
