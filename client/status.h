// How a client call ended. Two layers answer: the RPC runtime (was the call made at all) and the procedure itself.
#pragma once

#include <string>
#include <string_view>

#include "platform/rpc.h"

namespace client {

struct Status {
  const char* operation = "";  // the procedure or runtime call that answered; a literal
  RPC_STATUS rpc = RPC_S_OK;   // what the runtime answered, 0 when the procedure was reached
  HRESULT result = 0;          // the procedure's result, meaningful only when rpc is 0

  bool Ok() const { return rpc == RPC_S_OK && result == 0; }

  // The code that counts: the runtime's when it failed, else the procedure's.
  std::uint32_t Code() const { return static_cast<std::uint32_t>(rpc != RPC_S_OK ? rpc : result); }

  // Which of the two layers the code comes from.
  bool FromRuntime() const { return rpc != RPC_S_OK; }

  // The code's name, by its layer: "RPC_S_SERVER_UNAVAILABLE", "S_FALSE"; "" for an unknown one.
  std::string_view CodeName() const;

  // Nobody serves the interface: never did, or went away before or during the call.
  bool ServiceNotReachable() const;

  // The service ended the wait because it is stopping.
  bool ServiceStopping() const;
};

// "Hkd04a7Rpc_EventNotify_Create answered 1722 (RPC_S_SERVER_UNAVAILABLE: the RPC server is unavailable)".
std::string Describe(const Status& status);

}  // namespace client
