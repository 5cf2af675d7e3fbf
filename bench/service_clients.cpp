#include "bench/service_clients.h"

#include <unistd.h>

#include "bench/clock.h"
#include "bench/engine_interface.h"
#include "bench/raw_calls.h"
#include "bench/server_roles.h"
#include "bench/temporary_machine.h"
#include "platform/host/rpc/hkd04a7_description.h"

using namespace host::rpc;

namespace bench {

namespace {

Call HandleCall(const Target& target, const ContextToken& handle) {
  Call call;
  call.arguments.resize(target.procedure->parameters.size());
  call.arguments[0].token = handle;
  return call;
}

CallingClient ConnectSession(const SessionInterface& interface) {
  CallingClient client;
  client.socket = ConnectAndBind(EndpointPath(), interface.id);
  if (client.socket < 0) CannotGoOn("connect");
  const ContextToken session = OpenHandle(client.socket, interface.open);
  if (session.IsNull()) CannotGoOn("open a session");
  Call call = HandleCall(interface.call, session);
  client.request = RequestFor(interface.call, call);
  if (!Send(client.socket, client.request)) CannotGoOn("call");
  client.reply = ReceivePdu(client.socket);
  if (!ReadAnswer(interface.call, client.reply, call)) CannotGoOn("call");
  return client;
}

void CloseSession(int socket, const SessionInterface& interface, const ContextToken& session) {
  Call call = HandleCall(interface.close, session);
  if (!Send(socket, RequestFor(interface.close, call)) || !ReadAnswer(interface.close, ReceivePdu(socket), call)) {
    CannotGoOn("close a session");
  }
}

}  // namespace

SessionInterface ProductSessions() {
  return {ProductInterface(), ProductProcedure(hkd04a7::kDeviceCreate), ProductProcedure(hkd04a7::kDeviceClose),
          ProductProcedure(hkd04a7::kDeviceCallFuncMethod)};
}

SessionInterface EngineSessions() {
  return {EngineInterface(), EngineTarget(kEngineOpen), EngineTarget(kEngineClose), EngineTarget(kEngineCall)};
}

std::vector<CallingClient> ConnectSessions(const SessionInterface& interface, unsigned count) {
  std::vector<CallingClient> clients;
  for (unsigned i = 0; i < count; ++i) clients.push_back(ConnectSession(interface));
  return clients;
}

std::vector<CallingClient> ConnectRaw(unsigned count) {
  std::vector<CallingClient> clients;
  for (unsigned i = 0; i < count; ++i) {
    clients.push_back(ConnectRawClient(RawCallsPath()));
    if (clients.back().socket < 0) CannotGoOn("connect to the raw server");
  }
  return clients;
}

std::vector<std::int64_t> OpenSessionsFor(std::int64_t nanoseconds, const SessionInterface& interface) {
  // The library is loaded while another session is open.
  const std::vector<CallingClient> other = ConnectSessions(interface, 1);
  const int socket = ConnectAndBind(EndpointPath(), interface.id);
  if (socket < 0) CannotGoOn("connect");
  std::vector<std::int64_t> times;
  const std::int64_t until = Now() + nanoseconds;
  while (Now() < until) {
    const std::int64_t begin = Now();
    const ContextToken session = OpenHandle(socket, interface.open);
    times.push_back(Now() - begin);
    if (session.IsNull()) CannotGoOn("open a session");
    CloseSession(socket, interface, session);
  }
  close(socket);
  CloseAll(other);
  return times;
}

}  // namespace bench
