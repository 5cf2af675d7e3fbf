#include "bench/server_roles.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "bench/clock.h"
#include "bench/engine_interface.h"
#include "bench/raw_calls.h"
#include "bench/raw_events.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/open_files.h"
#include "platform/host/rpc/server_status.h"
#include "platform/rpc.h"
#include "platform/rpc_interface.h"
#include "rpc/event_notify_list.h"

namespace bench {

namespace {

constexpr int kMostLooks = 20'000;
constexpr std::chrono::microseconds kRest{100};

template <typename Condition>
bool Await(std::chrono::microseconds look, Condition condition) {
  for (int i = 0; i < kMostLooks; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(look);
  }
  return false;
}

bool BecomesIdle() {
  return Await(std::chrono::milliseconds(1),
               [] { return host::rpc::ConnectionCount() == 0 && host::rpc::ContextHandleCount() == 0; });
}

// The product's interface at its endpoint, with everybody admitted.
bool OpenProductEndpoint() {
  WCHAR protocol[] = W("ncalrpc");
  WCHAR endpoint[] = W("Hkd04a7RpcEndpoint");
  return RpcServerUseProtseqEpW(protocol, RPC_C_PROTSEQ_MAX_REQS_DEFAULT, endpoint, nullptr) == RPC_S_OK &&
         RpcServerRegisterIf3(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, nullptr, RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY,
                              RPC_C_LISTEN_MAX_CALLS_DEFAULT, 0, nullptr, nullptr) == RPC_S_OK;
}

// The number of the event goes with it, so that the clients see whether one is missing.
void Deliver(EventControl& control) {
  const Hkd04a7Rpc_EventRecord event{1, control.delivered++, 0};
  Quorvex::PC::Hkd04a7::Service::DeliverToSubscriptions(event);
}

bool DeliverOne(EventControl& control) {
  if (!Await(kRest, [&] { return host::rpc::OpenCallCount() == control.clients; })) return false;
  Rest();
  control.begun = Now();
  Deliver(control);
  return true;
}

bool DeliverMany(EventControl& control) {
  while (control.AwaitRoom()) Deliver(control);
  return Answer(true);
}

bool Queue(EventControl& control) {
  for (unsigned i = 0; i < kQueuedEvents; ++i) Deliver(control);
  return Answer(true);
}

bool CarryOut(char order, EventControl& control) {
  switch (order) {
    case kAwaitIdle:
      return Answer(BecomesIdle());
    case kDeliverOne:
      return DeliverOne(control);
    case kDeliverMany:
      return DeliverMany(control);
    case kQueue:
      return Queue(control);
    default:
      return false;
  }
}

// This thread hands out the events, as the service's worker does; the runtime has threads of its own.
int ServeRpc() {
  if (!Answer(OpenProductEndpoint() && OfferEngineInterface())) return 1;
  EventControl& control = ControlOf(kRpcRole);
  char order = 0;
  while (read(STDIN_FILENO, &order, 1) == 1) {
    if (!CarryOut(order, control)) return 1;
  }
  return 0;
}

int ServeRaw(const std::string& path, bool events) {
  const int listener = ListenForRawClients(path);
  if (!Answer(listener >= 0) || listener < 0) return 1;
  return events ? ServeRawEvents(listener, STDIN_FILENO, ControlOf(kRawEventsRole)) : ServeRawCalls(listener);
}

}  // namespace

bool Answer(bool yes) {
  const char answer = yes ? kYes : kNo;
  return write(STDOUT_FILENO, &answer, 1) == 1;
}

void Rest() {
  std::this_thread::sleep_for(kRest);
}

std::string RawCallsPath() {
  return host::CurrentMachineDirectory().runtime + "/raw-calls";
}

std::string RawEventsPath() {
  return host::CurrentMachineDirectory().runtime + "/raw-events";
}

EventControl& ControlOf(const char* role) {
  return MapEventControl(host::CurrentMachineDirectory().runtime + "/control" + role);
}

int PlayServerRole(const char* role) {
  const bool rpc = std::strcmp(role, kRpcRole) == 0;
  const bool rawCalls = std::strcmp(role, kRawCallsRole) == 0;
  const bool rawEvents = std::strcmp(role, kRawEventsRole) == 0;
  if (!rpc && !rawCalls && !rawEvents) return -1;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  host::RaiseOpenFileLimit();
  return rpc ? ServeRpc() : ServeRaw(rawEvents ? RawEventsPath() : RawCallsPath(), rawEvents);
}

}  // namespace bench
