// What the RPC server of this process is doing, for people and for tests.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace host::rpc {

// What the server's own routines keep for its clients, by name.
using ServerQueues = std::map<std::string, std::uint64_t>;

struct ServerStatusInfo {
  unsigned connections = 0;
  unsigned associations = 0;
  std::map<std::string, unsigned> handles;  // by the name of their type
  unsigned openCalls = 0;                   // begun and not ended, pending asynchronous ones included
  unsigned pendingCalls = 0;                // those of them that are asynchronous
  std::map<std::string, unsigned> calls;    // all that are open, by the name of their procedure
  unsigned threads = 0;
  std::size_t unsentBytes = 0;  // replies that wait for their clients to read
  ServerQueues queues;
};

// A snapshot; its figures need not fit together while calls run. Any thread.
ServerStatusInfo ServerStatus();

// Has a snapshot ask for the queues too: `measure` is called on any thread, must not wait, and may answer nothing.
void TellQueues(ServerQueues (*measure)());

// For the end of a test: 0 when nothing is left behind. A handle counts until its rundown has run.
unsigned OpenCallCount();
unsigned ContextHandleCount();
unsigned ConnectionCount();

// --- For tests ---

// Lets RpcServerListen return.
void EndListening();
// Closes the endpoints of this process, so that they can be opened again.
void CloseServerEndpoints();
// How long call threads stay without work.
void SetThreadLinger(std::chrono::milliseconds linger);

}  // namespace host::rpc
