#include "tests/rpc/scripted_server.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

#include "platform/host/base/machine_directory.h"
#include "platform/host/link/unix_socket.h"
#include "platform/host/rpc/pdu_parse.h"

ScriptedConnection::~ScriptedConnection() {
  close(socket_);
}

std::optional<ScriptedConnection::Pdu> ScriptedConnection::Receive() {
  for (;;) {
    host::rpc::PduStream::Item item;
    const auto outcome = stream_.Next(item);
    if (outcome == host::rpc::PduStream::Outcome::Pdu) return Pdu{item.header, {item.pdu.begin(), item.pdu.end()}};
    if (outcome == host::rpc::PduStream::Outcome::Refused) return std::nullopt;
    const auto room = stream_.Room();
    const ssize_t received = recv(socket_, room.data(), room.size(), 0);
    if (received <= 0) return std::nullopt;
    stream_.Filled(static_cast<std::size_t>(received));
  }
}

void ScriptedConnection::Send(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes = bytes.subspan(static_cast<std::size_t>(sent));
  }
}

void ScriptedConnection::AcceptBind(std::uint16_t maxReceive) {
  const auto pdu = Receive();
  host::rpc::BindPdu bind;
  if (!pdu || host::rpc::ParseBind(pdu->header, pdu->bytes, bind)) return;
  host::rpc::BindAckPdu ack;
  ack.maxReceive = maxReceive;
  ack.associationGroup = 1;
  ack.results.assign(bind.contexts.size(),
                     {host::rpc::kResultProviderRejection, host::rpc::kReasonTransferSyntaxes, {}});
  ack.results[0] = {host::rpc::kResultAccepted, 0, bind.contexts[0].transferSyntaxes[0]};
  host::rpc::Bytes bytes;
  host::rpc::AppendBindAck(host::rpc::PduType::BindAck, pdu->header.callId, ack, bytes);
  Send(bytes);
}

void ScriptedConnection::Respond(std::uint32_t callId, std::span<const std::byte> stub, std::uint16_t maxFragment) {
  host::rpc::Bytes bytes;
  host::rpc::AppendResponse(callId, {0, 0, 0, stub}, maxFragment, bytes);
  Send(bytes);
}

ScriptedServer::ScriptedServer(const std::string& endpoint, std::vector<Script> scripts) {
  const std::string path = host::CurrentMachineDirectory().runtime + "/ncalrpc/" + endpoint;
  listener_ = host::ListenUnixSocket(path, 10);
  fcntl(listener_, F_SETFL, 0);  // blocking
  thread_ = std::thread([this, scripts = std::move(scripts)] { Serve(scripts); });
}

ScriptedServer::~ScriptedServer() {
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
}

void ScriptedServer::Serve(const std::vector<Script>& scripts) {
  for (const Script& script : scripts) {
    const int socket = accept(listener_, nullptr, nullptr);
    if (socket < 0) return;
    ScriptedConnection connection(socket);
    script(connection);
  }
}
