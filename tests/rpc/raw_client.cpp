#include "tests/rpc/raw_client.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

#include "platform/host/base/machine_directory.h"
#include "platform/host/rpc/client_identity.h"
#include "platform/host/rpc/pdu_parse.h"
#include "tests/rpc/server_interface.h"

using namespace host::rpc;

RawClient::RawClient(const std::string& endpoint)
    : socket_(ConnectAs(ClientIdentityScope::Current(),
                        host::CurrentMachineDirectory().runtime + "/ncalrpc/" + endpoint)) {}

RawClient::~RawClient() {
  Close();
}

RawClient::RawClient(RawClient&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)),
      interface_(other.interface_),
      syntax_(other.syntax_),
      lastCall_(other.lastCall_),
      input_(std::move(other.input_)) {}

void RawClient::Close() {
  if (socket_ >= 0) close(std::exchange(socket_, -1));
}

std::uint32_t RawClient::Bind(const InterfaceDescription& interface, Syntax syntax, std::uint32_t group) {
  interface_ = &interface;
  syntax_ = syntax;
  BindPdu bind;
  bind.associationGroup = group;
  bind.contexts.push_back({0,
                           {interface.uuid, interface.majorVersion, interface.minorVersion},
                           {syntax == Syntax::Ndr64 ? kNdr64Syntax : kNdrSyntax}});
  Bytes bytes;
  AppendBind(PduType::Bind, ++lastCall_, bind, bytes);
  Send(bytes);
  const auto reply = Receive();
  const bool accepted = reply && reply->header.type == PduType::BindAck && reply->ack.results.size() == 1 &&
                        reply->ack.results.front().result == kResultAccepted;
  return accepted ? reply->ack.associationGroup : 0;
}

bool RawClient::Send(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t size = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (size < 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(size));
  }
  return true;
}

std::optional<RawReply> RawClient::Receive(std::chrono::milliseconds timeout) {
  const auto until = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    PduHeader header;
    const bool hasHeader = input_.size() >= kHeaderSize;
    if (hasHeader && ParseHeader(std::span(input_).first<kHeaderSize>(), header)) return std::nullopt;
    if (hasHeader && input_.size() >= header.fragmentLength) return TakeReply(header);
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
    pollfd readable{socket_, POLLIN, 0};
    if (left.count() < 0 || poll(&readable, 1, static_cast<int>(left.count())) <= 0) return std::nullopt;
    std::byte bytes[4096];
    const ssize_t size = recv(socket_, bytes, sizeof(bytes), 0);
    if (size <= 0) return std::nullopt;
    input_.insert(input_.end(), bytes, bytes + size);
  }
}

RawReply RawClient::TakeReply(const PduHeader& header) {
  const auto pdu = std::span(input_).first(header.fragmentLength);
  RawReply reply;
  reply.header = header;
  ResponsePdu response;
  FaultPdu fault;
  BindNakPdu nak;
  switch (header.type) {
    case PduType::Response:
      EXPECT_FALSE(ParseResponse(header, pdu, response));
      reply.stub.assign(response.stub.begin(), response.stub.end());
      break;
    case PduType::Fault:
      EXPECT_FALSE(ParseFault(header, pdu, fault));
      reply.fault = fault.status;
      break;
    case PduType::BindNak:
      EXPECT_FALSE(ParseBindNak(header, pdu, nak));
      reply.nakReason = nak.reason;
      break;
    default:
      EXPECT_FALSE(ParseBindAck(header, pdu, reply.ack));
      break;
  }
  input_.erase(input_.begin(), input_.begin() + header.fragmentLength);
  return reply;
}

bool RawClient::ClosedByServer() {
  for (;;) {
    pollfd readable{socket_, POLLIN, 0};
    if (poll(&readable, 1, 10000) <= 0) return false;
    std::byte bytes[4096];
    if (recv(socket_, bytes, sizeof(bytes), 0) <= 0) return true;
  }
}

bool RawClient::SendCall(std::uint32_t callId, std::uint16_t procedure, const Call& call, std::uint16_t maxFragment) {
  Bytes stub;
  WriteRequest(interface_->procedures[procedure], syntax_, call, stub);
  RequestPdu request;
  request.procedure = procedure;
  request.stub = stub;
  Bytes bytes;
  AppendRequest(callId, request, maxFragment, bytes);
  return Send(bytes);
}

Call RawClient::ReadAnswer(std::uint16_t procedure, const RawReply& reply) const {
  Call call;
  call.arguments.resize(interface_->procedures[procedure].parameters.size());
  ReadResponse(interface_->procedures[procedure], syntax_, reply.stub, call);
  return call;
}

RawClient::Answer RawClient::Finish(std::uint16_t procedure) {
  const auto reply = Receive();
  if (!reply) return {kNoAnswer, {}, 0};
  if (reply->header.type == PduType::Fault) return {reply->fault, {}, 0};
  const Call call = ReadAnswer(procedure, *reply);
  Answer answer;
  for (std::size_t i = 0; i < call.arguments.size(); ++i) {
    const auto& parameter = interface_->procedures[procedure].parameters[i];
    if (parameter.direction == Direction::In) continue;
    if (parameter.kind == ParameterKind::Context) answer.token = call.arguments[i].token;
    if (parameter.kind == ParameterKind::Long) answer.number = call.arguments[i].number;
  }
  return answer;
}

RawClient::Answer RawClient::Open(std::uint16_t procedure) {
  Call call;
  call.arguments.resize(2);
  SendCall(++lastCall_, procedure, call);
  return Finish(procedure);
}

RawClient::Answer RawClient::Close(std::uint16_t procedure, const ContextToken& token) {
  Call call;
  call.arguments.resize(1);
  call.arguments[0].token = token;
  SendCall(++lastCall_, procedure, call);
  return Finish(procedure);
}

RawClient::Answer RawClient::Use(std::uint16_t procedure, const ContextToken& token, std::uint32_t number) {
  StartUse(procedure, token, number);
  return Finish(procedure);
}

RawClient::Answer RawClient::Work(std::uint32_t number) {
  StartWork(number);
  return Finish(kWork);
}

RawClient::Answer RawClient::Length(const std::u16string& text, std::uint16_t maxFragment) {
  Call call;
  call.arguments.resize(3);
  call.arguments[1].text = text;
  SendCall(++lastCall_, kLength, call, maxFragment);
  return Finish(kLength);
}

std::uint32_t RawClient::StartUse(std::uint16_t procedure, const ContextToken& token, std::uint32_t number) {
  Call call;
  call.arguments.resize(3);
  call.arguments[0].token = token;
  call.arguments[1].number = number;
  SendCall(++lastCall_, procedure, call);
  return lastCall_;
}

std::uint32_t RawClient::StartWork(std::uint32_t number) {
  Call call;
  call.arguments.resize(3);
  call.arguments[1].number = number;
  SendCall(++lastCall_, kWork, call);
  return lastCall_;
}

std::uint32_t RawClient::StartWait(std::uint16_t procedure, const ContextToken& token) {
  Call call;
  call.arguments.resize(2);
  call.arguments[0].token = token;
  SendCall(++lastCall_, procedure, call);
  return lastCall_;
}
