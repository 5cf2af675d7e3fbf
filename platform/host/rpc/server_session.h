// The protocol on one connection: bind, requests in fragments, cancels. Polling thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/host/rpc/client_share.h"
#include "platform/host/rpc/pdu.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/pdu_stream.h"
#include "platform/host/rpc/reassembly.h"
#include "platform/host/rpc/server_call.h"
#include "platform/host/rpc/server_connection.h"
#include "platform/host/rpc/server_negotiation.h"

namespace host::rpc {

class ServerSession {
 public:
  // `admitted` false: the client may not use the endpoint. Whatever it begins with is answered with a fault that says
  // so, and ends the connection.
  ServerSession(const ServerTables& tables, std::shared_ptr<ServerConnection> connection, std::string endpoint,
                bool admitted);

  ServerConnection& connection() const { return *connection_; }

  // Bring what reading and serving it needs nearer: this object, then what it has the addresses of.
  void Prefetch() const;
  void PrefetchParts() const;

  // Reads what has arrived, and be it the end. False when nothing has.
  bool Receive();

  // Takes one PDU out of what has been read. Answers whether to come again: false when there is none left that may be
  // taken now. A request that can run becomes `*task`.
  bool Next(std::shared_ptr<Task>* task);

  // Nothing is to come any more: the client has left the protocol, or has gone and all it sent before is done.
  bool Over() const { return over_ || (inputEnded_ && (drained_ || !connection_->MayRead())); }
  // The client can be neither read nor written to.
  void SetHungUp() { inputEnded_ = true; }

  // Closes the connection. Answers the rundown that its end has led to, or null.
  std::shared_ptr<Task> End();

  bool queued = false;  // in the polling thread's list of sessions with input

 private:
  std::shared_ptr<Task> Handle(const PduHeader& header, std::span<const std::byte> pdu);
  void Answer(const PduHeader& header, const PduError& error);
  void Bind(const PduHeader& header, std::span<const std::byte> pdu);
  bool JoinAssociation(const BindPdu& bind);
  void Nak(std::uint32_t callId, std::uint16_t reason);
  std::shared_ptr<Task> Fragment(const PduHeader& header, std::span<const std::byte> pdu);
  std::shared_ptr<Task> Assemble(const PduHeader& header, const RequestPdu& request);
  std::shared_ptr<Task> Request(std::uint32_t callId, std::uint16_t contextId, std::uint16_t procedure,
                                std::span<const std::byte> stub, std::unique_ptr<HeldBytes> held = nullptr);
  std::shared_ptr<Task> Start(ServerRequest request);
  void Fault(std::uint32_t callId, std::uint16_t contextId, std::uint32_t status);
  void Cancel(std::uint32_t callId, bool orphaned);

  const ServerTables tables_;
  const std::shared_ptr<ServerConnection> connection_;
  const std::string endpoint_;
  const bool admitted_;
  std::shared_ptr<Association> association_;
  PresentationContexts contexts_;
  std::uint16_t maxFragment_ = kMinFragment;
  PduStream stream_;
  Reassembly partials_{{kMaxRequestBytes, kMaxOpenRequests}};
  HeldBytes partialBytes_{connection_->peer().share};
  bool inputEnded_ = false;
  bool drained_ = false;  // no whole PDU is left in stream_
  bool over_ = false;
};

}  // namespace host::rpc
