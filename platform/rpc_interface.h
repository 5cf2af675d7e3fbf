// The RPC interface: its types, the server routines, the rundown routines, the interface handles of both sides and the
// client stubs (prefix Client_). rpc/hkd04a7_rpc.idl is the same interface as the IDL compiler reads it.
#pragma once

#include "platform/rpc.h"

#ifdef _WIN32
#include "hkd04a7_rpc.h"
#else
#include "platform/host/rpc/hkd04a7_interface.h"
#endif
