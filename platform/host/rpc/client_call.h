// One call on its way, as the connection sees it: it is started once and ends once, with a status and the response.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/host/rpc/rpc_types.h"
#include "platform/host/rpc/stub.h"

namespace host::rpc {

class ClientConnection;

// Thread safe. Its lock is never held while other code runs.
class ClientCall {
 public:
  // `onEnd` runs once, on the thread that ends the call (the receiving one).
  explicit ClientCall(std::function<void()> onEnd = {}) : onEnd_(std::move(onEnd)) {}

  // The connection tells where the call has gone, before anything is sent.
  void SentOver(std::shared_ptr<ClientConnection> connection, std::uint32_t callId, Syntax syntax);

  // Only the first call counts. `stub` is the response's, empty unless `status` is 0.
  void End(RPC_STATUS status, std::vector<std::byte> stub);

  // RPC_S_CALL_IN_PROGRESS or the status with which it ended.
  RPC_STATUS Status() const;
  // Waits for the end; on the receiving thread it receives meanwhile.
  RPC_STATUS Wait();

  // Asks the server to cancel; with `abort` the call also ends here, soon.
  void Cancel(bool abort);

  // After the end.
  Syntax ResponseSyntax() const { return syntax_; }
  const std::vector<std::byte>& ResponseStub() const { return stub_; }

 private:
  mutable std::mutex lock_;
  std::condition_variable ended_;
  RPC_STATUS status_ = RPC_S_CALL_IN_PROGRESS;
  std::shared_ptr<ClientConnection> connection_;  // until the end
  std::uint32_t callId_ = 0;
  Syntax syntax_ = Syntax::Ndr;
  std::vector<std::byte> stub_;
  const std::function<void()> onEnd_;
};

}  // namespace host::rpc
