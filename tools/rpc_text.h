// What the RPC servers of the machine's processes hold, made readable.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tool {

// `server` is a row of the status's "rpc". One line; while its process is on its way to a stop (`stopPending`), with
// the calls that the stop waits for.
std::string RpcServerText(const nlohmann::json& server, bool stopPending);

}  // namespace tool
