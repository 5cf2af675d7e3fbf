#include "platform/host/rpc/server_status.h"

#include <atomic>

#include "platform/host/rpc/server_runtime.h"

namespace host::rpc {

namespace {

std::atomic<ServerQueues (*)()> g_measureQueues = nullptr;

}  // namespace

ServerStatusInfo ServerStatus() {
  auto& runtime = ServerRuntime::Instance();
  ServerStatusInfo status;
  status.connections = runtime.ConnectionCount();
  status.associations = runtime.contexts().AssociationCount();
  status.handles = runtime.contexts().HandlesByType();
  status.openCalls = runtime.interfaces().OpenCalls();
  status.pendingCalls = runtime.interfaces().AsynchronousCalls();
  status.calls = runtime.interfaces().OpenCallsByProcedure();
  status.threads = runtime.threads().ThreadCount();
  status.unsentBytes = runtime.UnsentBytes();
  if (const auto measure = g_measureQueues.load()) status.queues = measure();
  return status;
}

void TellQueues(ServerQueues (*measure)()) {
  g_measureQueues = measure;
}

unsigned OpenCallCount() {
  return ServerRuntime::Instance().interfaces().OpenCalls();
}

unsigned ContextHandleCount() {
  return ServerRuntime::Instance().contexts().HandleCount();
}

unsigned ConnectionCount() {
  return ServerRuntime::Instance().ConnectionCount();
}

void EndListening() {
  ServerRuntime::Instance().EndListening();
}

void CloseServerEndpoints() {
  ServerRuntime::Instance().CloseEndpoints();
}

void SetThreadLinger(std::chrono::milliseconds linger) {
  ServerRuntime::Instance().threads().SetLinger(linger);
}

}  // namespace host::rpc
