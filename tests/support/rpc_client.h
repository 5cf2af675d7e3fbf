// An RPC client that makes one call at a time, so that a test sees each of them on its own.
#pragma once

#include <memory>
#include <string>

#include "platform/host/identity/token_facts.h"
#include "platform/rpc.h"
#include "platform/rpc_interface.h"

namespace support {

// How a wait ended.
struct WaitResult {
  RPC_STATUS status;  // of the runtime; RPC_S_CALL_IN_PROGRESS: not ended within ten seconds
  DWORD result;       // of the procedure
  Hkd04a7Rpc_EventRecord record;
  // "0: 0 (1, 5, 0)"
  std::string Text() const;
};

// One asynchronous wait, outstanding from construction until Finish.
class Wait {
 public:
  explicit Wait(Hkd04a7Rpc_EventNotifyHandle subscription);
  // Ends the call if it has not been finished.
  ~Wait();
  Wait(const Wait&) = delete;
  Wait& operator=(const Wait&) = delete;

  WaitResult Finish();
  // Tells the service that the wait is no longer wanted; it still ends when the service answers.
  void Cancel();
  bool IsOutstanding();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// A connection with at most one subscription.
class RpcClient {
 public:
  // Of this process, seen as one from outside the machine.
  RpcClient();
  // Of a process with that token. Context handles got over the binding stay that process's.
  explicit RpcClient(const host::TokenFacts& caller);
  // Destroys the subscription if there is one and gives the connection up.
  ~RpcClient();
  RpcClient(const RpcClient&) = delete;
  RpcClient& operator=(const RpcClient&) = delete;

  handle_t Binding() const { return binding_; }
  Hkd04a7Rpc_EventNotifyHandle Subscription() const { return subscription_; }

  // Both answer the runtime's status, or the procedure's result when the runtime's is 0.
  DWORD Create();
  DWORD Destroy();
  // Ends the connection as the end of a client's process does.
  void Vanish();

  std::unique_ptr<Wait> BeginWait() { return std::make_unique<Wait>(subscription_); }
  WaitResult WaitForEvent() { return Wait(subscription_).Finish(); }

 private:
  handle_t binding_ = nullptr;
  Hkd04a7Rpc_EventNotifyHandle subscription_ = nullptr;
};

}  // namespace support
