#include "bench/latency_clients.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "platform/host/link/unix_socket.h"
#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/pdu_parse.h"
#include "platform/host/rpc/stub.h"

using namespace host::rpc;

namespace {

struct Client {
  int socket = -1;
  Bytes wait;  // the request for the next event
};

std::int64_t Now() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

bool Send(int socket, const Bytes& bytes) {
  return send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

// One PDU; empty when the server has closed or says something that is not a PDU.
Bytes ReceivePdu(int socket) {
  Bytes pdu(kHeaderSize);
  if (recv(socket, pdu.data(), kHeaderSize, MSG_WAITALL) != static_cast<ssize_t>(kHeaderSize)) return {};
  PduHeader header;
  if (ParseHeader(std::span<const std::byte, kHeaderSize>(pdu.data(), kHeaderSize), header)) return {};
  pdu.resize(header.fragmentLength);
  const std::size_t rest = pdu.size() - kHeaderSize;
  return recv(socket, pdu.data() + kHeaderSize, rest, MSG_WAITALL) == static_cast<ssize_t>(rest) ? pdu : Bytes{};
}

Bytes BindBytes() {
  BindPdu bind;
  bind.contexts.push_back(
      {0, {hkd04a7::kInterfaceUuid, hkd04a7::kMajorVersion, hkd04a7::kMinorVersion}, {kNdr64Syntax}});
  Bytes bytes;
  AppendBind(PduType::Bind, 1, bind, bytes);
  return bytes;
}

Bytes RequestBytes(hkd04a7::ProcedureNumber number, const Call& call) {
  Bytes stub;
  WriteRequest(hkd04a7::kProcedures[number], Syntax::Ndr64, call, stub);
  RequestPdu request;
  request.procedure = number;
  request.stub = stub;
  Bytes bytes;
  AppendRequest(2, request, kMaxFragment, bytes);
  return bytes;
}

// The new subscription's handle in the answer to procedure 3; null when there is none.
ContextToken SubscriptionOf(const Bytes& pdu) {
  Call call;
  call.arguments.resize(hkd04a7::kProcedures[hkd04a7::kEventNotifyCreate].parameters.size());
  PduHeader header;
  ResponsePdu response;
  if (pdu.size() < kHeaderSize ||
      ParseHeader(std::span<const std::byte, kHeaderSize>(pdu.data(), kHeaderSize), header) ||
      header.type != PduType::Response || ParseResponse(header, pdu, response) ||
      ReadResponse(hkd04a7::kProcedures[hkd04a7::kEventNotifyCreate], Syntax::Ndr64, response.stub, call) != 0) {
    return {};
  }
  return call.arguments[1].token;
}

bool Subscribe(const char* socketPath, Client& client) {
  client.socket = host::ConnectUnixSocket(socketPath);
  if (client.socket < 0) return false;
  if (!Send(client.socket, BindBytes()) || ReceivePdu(client.socket).empty()) return false;
  Call create;
  create.arguments.resize(2);
  if (!Send(client.socket, RequestBytes(hkd04a7::kEventNotifyCreate, create))) return false;
  Call wait;
  wait.arguments.resize(2);
  wait.arguments[0].token = SubscriptionOf(ReceivePdu(client.socket));
  if (wait.arguments[0].token.IsNull()) return false;
  client.wait = RequestBytes(hkd04a7::kEventNotifyWaitEventAsync, wait);
  return Send(client.socket, client.wait);
}

bool Report(std::vector<std::int64_t>& times, int output) {
  std::sort(times.begin(), times.end());
  const RoundTimes round{times.front(), times[times.size() / 2], times.back()};
  times.clear();
  return write(output, &round, sizeof(round)) == sizeof(round);
}

// Answers events with the next wait, as clients do, until the server closes.
void Serve(std::vector<Client>& clients, int epoll, int output) {
  std::vector<std::int64_t> times;
  epoll_event events[64];
  for (;;) {
    const int count = epoll_wait(epoll, events, 64, -1);
    for (int i = 0; i < count; ++i) {
      const Client& client = clients[events[i].data.u32];
      std::byte reply[256];
      if (recv(client.socket, reply, sizeof(reply), 0) <= 0) return;
      times.push_back(Now());
      if (!Send(client.socket, client.wait)) return;
    }
    if (times.size() == clients.size() && !Report(times, output)) return;
  }
}

}  // namespace

int RunLatencyClients(const char* socketPath, unsigned count, int output) {
  std::vector<Client> clients(count);
  const int epoll = epoll_create1(EPOLL_CLOEXEC);
  for (unsigned i = 0; i < count; ++i) {
    epoll_event event{EPOLLIN, {.u32 = i}};
    if (!Subscribe(socketPath, clients[i]) || epoll_ctl(epoll, EPOLL_CTL_ADD, clients[i].socket, &event) != 0) {
      std::fprintf(stderr, "client %u of %u: could not subscribe\n", i + 1, count);
      return 1;
    }
  }
  Serve(clients, epoll, output);
  for (const Client& client : clients) close(client.socket);
  close(epoll);
  return 0;
}
