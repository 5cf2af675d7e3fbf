#include "rpc/rpc_server.h"

#include "common/handles.h"
#include "platform/errors.h"
#include "platform/rpc_interface.h"
#include "platform/threads.h"
#include "rpc/event_notify_list.h"
#include "rpc/rpc_security_descriptor.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr const WCHAR* kStartName = W("Quorvex::PC::Hkd04a7::Service::CRpcServer::Start");
constexpr const WCHAR* kStopName = W("Quorvex::PC::Hkd04a7::Service::CRpcServer::Stop");
constexpr const WCHAR* kDestructorName = W("Quorvex::PC::Hkd04a7::Service::CRpcServer::~CRpcServer");

WCHAR g_protocolSequence[] = W("ncalrpc");
WCHAR g_endpoint[] = W("Hkd04a7RpcEndpoint");

// The RPC calls take text without const.
RPC_WSTR RpcText(WCHAR* text) {
  return reinterpret_cast<RPC_WSTR>(text);
}

bool StepSucceeded(const WCHAR* message, DWORD status) {
  if (status == RPC_S_OK) return true;
  DebugLog(message, status);
  return false;
}

RPC_STATUS UseEndpoint(RpcSecurityDescriptor& security) {
  return RpcServerUseProtseqEpW(RpcText(g_protocolSequence), RPC_C_PROTSEQ_MAX_REQS_DEFAULT, RpcText(g_endpoint),
                                &security.descriptor);
}

RPC_STATUS RegisterInterface(RpcSecurityDescriptor& security) {
  return RpcServerRegisterIf3(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, nullptr, RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY,
                              RPC_C_LISTEN_MAX_CALLS_DEFAULT, 0, nullptr, &security.descriptor);
}

// Blocks in the listen call for the life of the process.
unsigned __stdcall ListeningWorkerThread(void*) {
  DebugLog(W("worker thread of listening"));
  const RPC_STATUS status = RpcServerListen(1, RPC_C_LISTEN_MAX_CALLS_DEFAULT, FALSE);
  DebugLog(W("worker thread of listening ended with 0x%08x"), status);
  return static_cast<unsigned>(status);
}

// Without this thread calls are served all the same: the interface listens by itself.
void StartListening() {
  const Common::UniqueHandle thread(
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &ListeningWorkerThread, nullptr, 0, nullptr)));
}

}  // namespace

CRpcServer::~CRpcServer() {
  DebugLog(W("hkd04a7 %s enter\n"), kDestructorName);
  Stop();
}

bool CRpcServer::Start() {
  DebugLog(W("hkd04a7 %s enter\n"), kStartName);
  AcceptWaitsOfNewSubscriptions();
  RpcSecurityDescriptor security;
  if (!GetRpcSecurityDescriptor(security)) {
    DebugLog(W("hkd04a7 -- failed to get RPC security descriptor, err=0x%08x\n"), GetLastError());
    return false;
  }
  if (!StepSucceeded(W("hkd04a7 -- RpcServerUseProtseqEp failed, err=0x%08x\n"), UseEndpoint(security))) return false;
  if (!StepSucceeded(W("hkd04a7 -- RpcServerRegisterIf3 failed, err=0x%08x\n"), RegisterInterface(security)))
    return false;
  if (!StepSucceeded(W("hkd04a7 -- RpcServerInqBindings failed, err=0x%08x\n"),
                     RpcServerInqBindings(&this->bindings))) {
    return false;
  }
  if (!StepSucceeded(W("hkd04a7 -- RpcEpRegister failed, err=0x%08x\n"),
                     RpcEpRegisterW(Hkd04a7Rpc_v1_0_s_ifspec, this->bindings, nullptr, nullptr))) {
    return false;
  }
  StartListening();
  return true;
}

void CRpcServer::Stop() {
  DebugLog(W("hkd04a7 %s enter\n"), kStopName);
  // First, since unregistering waits for all calls, the pending waits among them.
  CancelAndNotAcceptWaitAllRpcEventNotify();
  DebugLog(W("hkd04a7 %s 1\n"), kStopName);
  StepSucceeded(W("hkd04a7 RpcServerUnregisterIf() failed, 0x%08x\n"),
                RpcServerUnregisterIf(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, TRUE));
  DebugLog(W("hkd04a7 %s 2\n"), kStopName);
  if (this->bindings != nullptr) {
    StepSucceeded(W("hkd04a7 RpcEpUnregister() failed, 0x%08x\n"),
                  RpcEpUnregister(Hkd04a7Rpc_v1_0_s_ifspec, this->bindings, nullptr));
    RpcBindingVectorFree(&this->bindings);
  }
  DebugLog(W("hkd04a7 %s 3\n"), kStopName);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
