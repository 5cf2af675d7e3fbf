// An interface for measurements alone: a handle, and a call on it that takes four words and gives one and the result,
// so its request has 60 bytes and its reply 32. The routine does next to nothing: what a call costs is the RPC
// runtime's share.
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
