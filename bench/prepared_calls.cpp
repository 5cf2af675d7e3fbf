#include "bench/prepared_calls.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "platform/host/link/unix_socket.h"
#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/pdu_parse.h"

using namespace host::rpc;

namespace bench {

namespace {

Bytes BindRequest(const SyntaxId& interface) {
  BindPdu bind;
  bind.contexts.push_back({0, interface, {kNdr64Syntax}});
  Bytes bytes;
  AppendBind(PduType::Bind, 1, bind, bytes);
  return bytes;
}

bool ReadHeader(const Bytes& pdu, PduHeader& header) {
  return pdu.size() >= kHeaderSize &&
         !ParseHeader(std::span<const std::byte, kHeaderSize>(pdu.data(), kHeaderSize), header);
}

bool Accepted(const Bytes& pdu) {
  PduHeader header;
  BindAckPdu ack;
  return ReadHeader(pdu, header) && header.type == PduType::BindAck && !ParseBindAck(header, pdu, ack) &&
         ack.results.size() == 1 && ack.results[0].result == kResultAccepted;
}

}  // namespace

void CannotGoOn(const char* what) {
  std::fprintf(stderr, "a client could not %s\n", what);
  std::exit(1);
}

SyntaxId ProductInterface() {
  return {hkd04a7::kInterfaceUuid, hkd04a7::kMajorVersion, hkd04a7::kMinorVersion};
}

Target ProductProcedure(std::uint16_t number) {
  return {&hkd04a7::kProcedures[number], number};
}

int ConnectAndBind(const std::string& socketPath, const SyntaxId& interface) {
  const int socket = host::ConnectUnixSocket(socketPath);
  if (socket < 0) return -1;
  if (Send(socket, BindRequest(interface)) && Accepted(ReceivePdu(socket))) return socket;
  close(socket);
  return -1;
}

Bytes RequestFor(const Target& target, const Call& call) {
  Bytes stub;
  WriteRequest(*target.procedure, Syntax::Ndr64, call, stub);
  RequestPdu request;
  request.procedure = target.number;
  request.stub = stub;
  Bytes bytes;
  AppendRequest(2, request, kMaxFragment, bytes);
  return bytes;
}

bool Send(int socket, const Bytes& bytes) {
  return send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

Bytes ReceivePdu(int socket) {
  Bytes pdu(kHeaderSize);
  if (recv(socket, pdu.data(), kHeaderSize, MSG_WAITALL) != static_cast<ssize_t>(kHeaderSize)) return {};
  PduHeader header;
  if (!ReadHeader(pdu, header)) return {};
  pdu.resize(header.fragmentLength);
  const std::size_t rest = pdu.size() - kHeaderSize;
  return recv(socket, pdu.data() + kHeaderSize, rest, MSG_WAITALL) == static_cast<ssize_t>(rest) ? pdu : Bytes{};
}

bool ReadAnswer(const Target& target, const Bytes& pdu, Call& call) {
  PduHeader header;
  ResponsePdu response;
  return ReadHeader(pdu, header) && header.type == PduType::Response && !ParseResponse(header, pdu, response) &&
         ReadResponse(*target.procedure, Syntax::Ndr64, response.stub, call) == 0 && call.result == 0;
}

ContextToken OpenHandle(int socket, const Target& target) {
  Call call;
  call.arguments.resize(target.procedure->parameters.size());
  if (!Send(socket, RequestFor(target, call)) || !ReadAnswer(target, ReceivePdu(socket), call)) return {};
  return call.arguments.back().token;
}

}  // namespace bench
