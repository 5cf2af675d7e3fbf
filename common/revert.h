// How a thread gets back from another's identity to its own.
#pragma once

#include "platform/rpc.h"

namespace Quorvex::PC::Common {

// Ends one impersonation of the thread that calls it. Deleting the object ends nothing.
class CRevert {
 public:
  CRevert() = default;
  CRevert(const CRevert&) = delete;
  CRevert& operator=(const CRevert&) = delete;
  virtual ~CRevert() = default;

  // True when the thread's own identity is back.
  virtual bool Revert() = 0;
};

// The way back from the client of an RPC call.
class CRpcRevertToSelfEx final : public CRevert {
 public:
  // `binding` stands for the call; null for the one that the calling thread serves.
  explicit CRpcRevertToSelfEx(RPC_BINDING_HANDLE binding) : binding_(binding) {}

  bool Revert() override { return RpcRevertToSelfEx(binding_) == RPC_S_OK; }

 private:
  RPC_BINDING_HANDLE binding_;
};

}  // namespace Quorvex::PC::Common
