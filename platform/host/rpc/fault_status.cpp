#include "platform/host/rpc/fault_status.h"

#include "platform/host/rpc/pdu.h"

namespace host::rpc {

namespace {

struct Pair {
  std::uint32_t fault;
  RPC_STATUS status;
};

// Where a status has two faults, the first one is sent.
constexpr Pair kPairs[] = {
    {kFaultProcedureOutOfRange, RPC_S_PROCNUM_OUT_OF_RANGE},
    {kFaultUnknownInterface, RPC_S_UNKNOWN_IF},
    {kFaultProtocolError, RPC_S_PROTOCOL_ERROR},
    {kFaultServerTooBusy, RPC_S_SERVER_TOO_BUSY},
    {kFaultCancelled, RPC_S_CALL_CANCELLED},
    {kFaultContextMismatch, RPC_X_SS_CONTEXT_MISMATCH},
    {kFaultOutOfMemory, RPC_S_OUT_OF_MEMORY},
    {kFaultBadPresentationContext, RPC_S_PROTOCOL_ERROR},
    {kFaultUnspecified, RPC_S_CALL_FAILED},
};

}  // namespace

RPC_STATUS StatusFromFault(std::uint32_t fault) {
  for (const Pair& pair : kPairs) {
    if (pair.fault == fault) return pair.status;
  }
  return fault == 0 ? RPC_S_CALL_FAILED : static_cast<RPC_STATUS>(fault);
}

std::uint32_t FaultFromStatus(RPC_STATUS status) {
  for (const Pair& pair : kPairs) {
    if (pair.status == status) return pair.fault;
  }
  return status == 0 ? kFaultUnspecified : static_cast<std::uint32_t>(status);
}

}  // namespace host::rpc
