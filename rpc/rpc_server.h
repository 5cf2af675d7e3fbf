// The RPC interface on the air.
#pragma once

#include "platform/rpc.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Made and destroyed on the worker's thread; started once per process. The protocol sequence and the listening thread
// outlive the object: they end with the process.
class CRpcServer {
 public:
  CRpcServer() = default;
  CRpcServer(const CRpcServer&) = delete;
  CRpcServer& operator=(const CRpcServer&) = delete;
  // Stops, whether or not Start succeeded.
  ~CRpcServer();

  // Opens the endpoint, registers the interface and starts to listen. False after the first step that failed, which is
  // logged; what the earlier steps registered is left to Stop.
  bool Start();

 private:
  // Ends every pending wait, then unregisters the interface, which waits for all calls, and the endpoint.
  void Stop();

  RPC_BINDING_VECTOR* bindings = nullptr;
};

}  // namespace Quorvex::PC::Hkd04a7::Service
