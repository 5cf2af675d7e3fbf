#include "platform/host/rpc/server_session.h"

#include <algorithm>
#include <utility>

#include "platform/host/rpc/prefetch.h"

namespace host::rpc {

ServerSession::ServerSession(const ServerTables& tables, std::shared_ptr<ServerConnection> connection,
                             std::string endpoint, bool admitted)
    : tables_(tables), connection_(std::move(connection)), endpoint_(std::move(endpoint)), admitted_(admitted) {}

void ServerSession::Prefetch() const {
  PrefetchMemory(this, sizeof(*this));
}

void ServerSession::PrefetchParts() const {
  PrefetchMemory(connection_.get(), sizeof(*connection_));
  PrefetchMemory(association_.get(), sizeof(*association_));
  PrefetchMemory(contexts_.data(), sizeof(PresentationContext));
  stream_.Prefetch();
}

bool ServerSession::Receive() {
  if (inputEnded_) return true;
  const ssize_t size = connection_->Receive(stream_.Room());
  if (size > 0) stream_.Filled(static_cast<std::size_t>(size));
  inputEnded_ = size < 0;
  drained_ = false;
  return size != 0;
}

bool ServerSession::Next(std::shared_ptr<Task>* task) {
  if (over_ || !connection_->MayRead()) return false;
  PduStream::Item item;
  switch (stream_.Next(item)) {
    case PduStream::Outcome::Pdu:
      *task = Handle(item.header, item.pdu);
      drained_ = stream_.Drained();
      return !drained_ || Over();
    case PduStream::Outcome::Refused:
      Answer(item.header, item.error);
      over_ = true;
      return false;
    default:
      drained_ = true;
      return false;
  }
}

std::shared_ptr<Task> ServerSession::End() {
  connection_->Close();
  if (!association_) return nullptr;
  return tables_.contexts.Disconnect(std::exchange(association_, nullptr));
}

std::shared_ptr<Task> ServerSession::Handle(const PduHeader& header, std::span<const std::byte> pdu) {
  if (!admitted_) {
    Fault(header.callId, 0, kFaultAccessDenied);
    over_ = true;
    return nullptr;
  }
  switch (header.type) {
    case PduType::Bind:
    case PduType::AlterContext:
      Bind(header, pdu);
      return nullptr;
    case PduType::Request:
      return Fragment(header, pdu);
    case PduType::CoCancel:
    case PduType::Orphaned:
      Cancel(header.callId, header.type == PduType::Orphaned);
      return nullptr;
    default:
      over_ = true;  // only a server sends these
      return nullptr;
  }
}

void ServerSession::Answer(const PduHeader& header, const PduError& error) {
  switch (error.answer) {
    case PduAnswer::BindNak:
      Nak(header.callId, static_cast<std::uint16_t>(error.code));
      return;
    case PduAnswer::Fault:
      Fault(header.callId, 0, error.code);
      return;
    default:
      over_ = true;
      return;
  }
}

void ServerSession::Nak(std::uint32_t callId, std::uint16_t reason) {
  Bytes bytes;
  AppendBindNak(callId, reason, bytes);
  connection_->Send(bytes);
  over_ = true;
}

void ServerSession::Bind(const PduHeader& header, std::span<const std::byte> pdu) {
  const bool first = header.type == PduType::Bind;
  BindPdu bind;
  if (const auto error = ParseBind(header, pdu, bind)) return Answer(header, error);
  // One bind opens a connection, and nothing else does.
  if (first == (association_ != nullptr)) return Nak(header.callId, kNakReasonNotSpecified);
  if (bind.contexts.size() > kMaxPresentationContexts) return Nak(header.callId, kNakLocalLimitExceeded);
  if (first && !JoinAssociation(bind)) return Nak(header.callId, kNakReasonNotSpecified);
  BindAckPdu ack;
  ack.maxTransmit = maxFragment_;
  ack.maxReceive = std::min(bind.maxTransmit, kMaxFragment);
  ack.associationGroup = association_->id;
  if (first) ack.secondaryAddress = endpoint_;
  ack.results = Negotiate(tables_.interfaces, IdentityOf(*connection_->peer().token), bind.contexts, first, contexts_);
  Bytes bytes;
  AppendBindAck(first ? PduType::BindAck : PduType::AlterContextResponse, header.callId, ack, bytes);
  connection_->Send(bytes);
}

bool ServerSession::JoinAssociation(const BindPdu& bind) {
  const auto& peer = connection_->peer();
  association_ =
      bind.associationGroup == 0 ? tables_.contexts.Create(peer) : tables_.contexts.Join(bind.associationGroup, peer);
  maxFragment_ = std::clamp(bind.maxReceive, kMinFragment, kMaxFragment);
  return association_ != nullptr;
}

std::shared_ptr<Task> ServerSession::Fragment(const PduHeader& header, std::span<const std::byte> pdu) {
  RequestPdu request;
  if (const auto error = ParseRequest(header, pdu, request)) {
    Answer(header, error);
    return nullptr;
  }
  if (!header.IsWhole()) return Assemble(header, request);
  return Request(header.callId, request.contextId, request.procedure, request.stub);
}

std::shared_ptr<Task> ServerSession::Assemble(const PduHeader& header, const RequestPdu& request) {
  const auto& share = connection_->peer().share;
  const bool tooMuch = share->requestBytes + request.stub.size() > kMaxRequestBytesOfClient;
  Message whole;
  const auto outcome = partials_.Add(header, request.contextId, request.procedure, request.stub, whole);
  partialBytes_.Set(partials_.Bytes());
  switch (tooMuch ? Reassembly::Outcome::TooLarge : outcome) {
    case Reassembly::Outcome::Incomplete:
      return nullptr;
    case Reassembly::Outcome::Complete:
      return Request(header.callId, whole.contextId, whole.procedure, whole.stub,
                     std::make_unique<HeldBytes>(share, whole.stub.size()));
    default:
      Fault(header.callId, request.contextId, tooMuch ? kFaultServerTooBusy : kFaultProtocolError);
      over_ = true;
      return nullptr;
  }
}

std::shared_ptr<Task> ServerSession::Request(std::uint32_t callId, std::uint16_t contextId, std::uint16_t procedure,
                                             std::span<const std::byte> stub, std::unique_ptr<HeldBytes> held) {
  const PresentationContext* const context = FindContext(contexts_, contextId);
  if (context == nullptr) {
    Fault(callId, contextId, kFaultBadPresentationContext);
    return nullptr;
  }
  if (!context->granted) {
    Fault(callId, contextId, kFaultAccessDenied);
    return nullptr;
  }
  const auto& procedures = context->interface->description->procedures;
  if (procedure >= procedures.size()) {
    Fault(callId, contextId, kFaultProcedureOutOfRange);
    return nullptr;
  }
  ServerRequest request{
      connection_,  association_, context->interface, &procedures[procedure], context->syntax, callId, contextId,
      maxFragment_, {},           std::move(held)};
  if (const auto fault = ReadRequest(*request.procedure, request.syntax, stub, request.call)) {
    Fault(callId, contextId, fault);
    return nullptr;
  }
  return Start(std::move(request));
}

std::shared_ptr<Task> ServerSession::Start(ServerRequest request) {
  auto call = std::make_shared<ServerCall>(tables_, std::move(request));
  if (connection_->AddCall(call->Id(), *call)) return call->Begin();
  over_ = true;  // a number in use: neither reply could be told from the other
  return nullptr;
}

void ServerSession::Fault(std::uint32_t callId, std::uint16_t contextId, std::uint32_t status) {
  Bytes bytes;
  FaultPdu fault;
  fault.contextId = contextId;
  fault.status = status;
  AppendFault(callId, fault, kDidNotExecute, bytes);
  connection_->Send(bytes);
}

void ServerSession::Cancel(std::uint32_t callId, bool orphaned) {
  if (orphaned) partials_.Drop(callId);
  partialBytes_.Set(partials_.Bytes());
  connection_->Cancel(callId, orphaned);
}

}  // namespace host::rpc
