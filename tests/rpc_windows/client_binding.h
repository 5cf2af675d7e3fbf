// A client of the interface: its binding, and how its calls end.
#pragma once

#include <string>

#include "platform/rpc.h"
#include "platform/rpc_client.h"
#include "platform/rpc_interface.h"

// The RPC calls take text without const.
inline RPC_WSTR RpcText(std::wstring& text) {
  return reinterpret_cast<RPC_WSTR>(text.data());
}

// A binding to a local endpoint, whether or not somebody serves it; null when it could not be made.
class Binding {
 public:
  explicit Binding(std::wstring endpoint);
  ~Binding();
  Binding(const Binding&) = delete;
  Binding& operator=(const Binding&) = delete;

  handle_t Handle() const { return handle_; }

 private:
  handle_t handle_ = nullptr;
};

// How a call ended: for the runtime and, when that is RPC_S_OK, for the procedure.
struct Answer {
  RPC_STATUS status;
  HRESULT result;
  bool operator==(const Answer&) const = default;
};
inline constexpr Answer kSucceeded = {RPC_S_OK, S_OK};
inline constexpr Answer Result(DWORD code) {
  return {RPC_S_OK, static_cast<HRESULT>(code)};
}

template <typename Call>
Answer Ask(Call call) {
  HRESULT result = 0;
  const RPC_STATUS status = CatchRpcException([&] { result = call(); });
  return {status, result};
}

// One wait for an event, which ends within five seconds or with RPC_S_CALL_CANCELLED.
Answer WaitForEvent(Hkd04a7Rpc_EventNotifyHandle subscription, Hkd04a7Rpc_EventRecord* record);
