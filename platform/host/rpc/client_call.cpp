#include "platform/host/rpc/client_call.h"

#include <utility>

#include "platform/host/rpc/client_connection.h"
#include "platform/host/rpc/client_receiver.h"

namespace host::rpc {

void ClientCall::SentOver(std::shared_ptr<ClientConnection> connection, std::uint32_t callId, Syntax syntax) {
  std::lock_guard guard(lock_);
  connection_ = std::move(connection);
  callId_ = callId;
  syntax_ = syntax;
}

void ClientCall::End(RPC_STATUS status, std::vector<std::byte> stub) {
  std::shared_ptr<ClientConnection> released;  // its end may close the connection: not under the lock
  {
    std::lock_guard guard(lock_);
    if (status_ != RPC_S_CALL_IN_PROGRESS) return;
    status_ = status;
    stub_ = std::move(stub);
    released = std::move(connection_);
  }
  ended_.notify_all();  // not under the lock, which who waits would run into
  if (onEnd_) onEnd_();
}

RPC_STATUS ClientCall::Status() const {
  std::lock_guard guard(lock_);
  return status_;
}

RPC_STATUS ClientCall::Wait() {
  auto& receiver = Receiver::Instance();
  if (receiver.IsThisThread()) {
    while (Status() == RPC_S_CALL_IN_PROGRESS) receiver.RunOnce();
  }
  std::unique_lock guard(lock_);
  ended_.wait(guard, [this] { return status_ != RPC_S_CALL_IN_PROGRESS; });
  return status_;
}

void ClientCall::Cancel(bool abort) {
  std::shared_ptr<ClientConnection> connection;
  std::uint32_t callId = 0;
  {
    std::lock_guard guard(lock_);
    connection = connection_;
    callId = callId_;
  }
  if (connection == nullptr) return;
  if (abort) {
    connection->Orphan(callId);
  } else {
    connection->CoCancel(callId);
  }
}

}  // namespace host::rpc
