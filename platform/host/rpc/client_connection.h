// One connection to an endpoint: calls go out on any thread, answers come in on the receiving one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "platform/host/rpc/client_call.h"
#include "platform/host/rpc/client_handshake.h"
#include "platform/host/rpc/client_identity.h"
#include "platform/host/rpc/client_receiver.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/reassembly.h"

namespace host::rpc {

// Thread safe. Held by its binding and by every call in flight; closes its socket at its end.
class ClientConnection final : public ReceiverSource, public std::enable_shared_from_this<ClientConnection> {
 public:
  // Connects to <runtime>/ncalrpc/<endpoint> and binds. RPC_S_SERVER_UNAVAILABLE where nobody listens, or what
  // Negotiate answers. `client` is null but where a test says who the client is.
  static RPC_STATUS Open(const std::string& endpoint, const InterfaceDescription& description,
                         const std::shared_ptr<const TokenFacts>& client,
                         std::shared_ptr<ClientConnection>& connection);

  ~ClientConnection() override;

  Syntax TransferSyntax() const { return negotiated_.syntax; }

  // True once the server has gone: no call can be started any more.
  bool Lost() const;

  // Sends a request whose stub data is in TransferSyntax. False when the connection was lost before any of it went out;
  // the call can then be made over another one. Never waits: what does not fit into the socket follows later.
  bool Submit(const std::shared_ptr<ClientCall>& call, std::uint16_t procedure, std::span<const std::byte> stub);

  void CoCancel(std::uint32_t callId);  // the call goes on
  void Orphan(std::uint32_t callId);    // the call ends with RPC_S_CALL_CANCELLED

  void OnReady(std::uint32_t events) override;

 private:
  // A call that has ended, and how; told to it when no lock is held and no received data is in use.
  struct Ending {
    std::shared_ptr<ClientCall> call;
    RPC_STATUS status;
    Bytes stub;
  };

  ClientConnection(int socket, const Negotiated& negotiated, PduStream stream);
  bool SendLocked(Bytes bytes);
  bool FlushLocked();
  void SendControl(void (*append)(std::uint32_t, Bytes&), std::uint32_t callId);
  std::shared_ptr<ClientCall> TakeCall(std::uint32_t callId);
  bool HasCall(std::uint32_t callId);
  bool Receive();
  bool TakePdus(std::vector<Ending>& endings);
  bool TakePdu(const PduStream::Item& item, std::vector<Ending>& endings);
  bool TakeResponse(const PduStream::Item& item, std::vector<Ending>& endings);
  bool TakeFault(const PduStream::Item& item, std::vector<Ending>& endings);
  void Lose(std::vector<Ending>& endings);

  const int socket_;
  const Negotiated negotiated_;

  mutable std::mutex lock_;  // before the receiver's; guards down to the blank line
  bool lost_ = false;
  std::uint32_t lastCallId_ = 1;  // the bind's
  std::map<std::uint32_t, std::shared_ptr<ClientCall>> calls_;
  Bytes unsent_;

  // The receiving thread's.
  PduStream stream_;
  Reassembly reassembly_;
};

}  // namespace host::rpc
