// Two small interfaces for the fuzzing of the server: one that everybody may call, with a serialized context handle,
// and one that nobody but the system may.
#pragma once

#include <cstdint>

#include "platform/host/rpc/stub.h"

enum FuzzProcedure : std::uint16_t {
  kOpen,   // out handle
  kClose,  // in, out handle
  kUse,    // in handle, in number, out number: the number
  kFuzzProcedureCount
};

extern const host::rpc::InterfaceDescription kOpenInterface;
extern const host::rpc::InterfaceDescription kGuardedInterface;

// How many values the handles stand for now; each is made by kOpen, and goes with kClose or a rundown.
int LiveValues();
