#include "client/run_as_system.h"

#include "platform/rpc_client.h"
#include "platform/rpc_interface.h"

namespace client {
namespace {

constexpr DWORD kNoWait = 1;
constexpr DWORD kInClientSession = 2;

}  // namespace

Status RunAsSystem(Connection& connection, const RunRequest& request, DWORD* exitCode) {
  const DWORD flags = (request.wait ? 0 : kNoWait) | (request.inClientSession ? kInClientSession : 0);
  Status status{"Hkd04a7Rpc_RunFileAsSystem"};
  status.rpc = CatchRpcException([&] {
    status.result = Client_Hkd04a7Rpc_RunFileAsSystem(connection.Binding(), flags, request.command.c_str(),
                                                      request.parameters.c_str(), exitCode);
  });
  return status;
}

}  // namespace client
