// The service's side of the interface, led by the test: which wait is answered when, and with what.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>

#include "platform/rpc_interface.h"

namespace client {

// Serves the endpoint in this process, on a machine directory of its own. One for each process.
class ScriptedService {
 public:
  ScriptedService();
  ~ScriptedService();
  ScriptedService(const ScriptedService&) = delete;
  ScriptedService& operator=(const ScriptedService&) = delete;

  // Each waits until a wait is outstanding and ends it. False when none comes, in ten seconds or because the
  // subscription has been destroyed.
  bool Deliver(DWORD eventId, DWORD data1, DWORD data2) { return Complete(0, {eventId, data1, data2}); }
  bool Refuse(HRESULT result) { return Complete(result, {}); }
  bool Abort(DWORD code);

  // What the client's create is answered from now on.
  void AnswerCreate(HRESULT result) { createResult_ = result; }
  // Leaves waits pending when their subscription is destroyed.
  void LeaveWaitsPending() { leaveWaits_ = true; }

  unsigned Destroyed();

  // The server routines' parts.
  HRESULT Create(Hkd04a7Rpc_EventNotifyHandle* subscription);
  HRESULT Destroy(Hkd04a7Rpc_EventNotifyHandle* subscription);
  void Wait(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventRecord* event);

  static ScriptedService* Instance();

 private:
  bool Complete(HRESULT result, const Hkd04a7Rpc_EventRecord& event);
  bool AwaitWait(std::unique_lock<std::mutex>& guard);

  std::string folder_;
  std::mutex lock_;
  std::condition_variable changed_;
  PRPC_ASYNC_STATE pending_ = nullptr;
  Hkd04a7Rpc_EventRecord* record_ = nullptr;
  unsigned destroyed_ = 0;
  std::atomic<HRESULT> createResult_ = 0;
  std::atomic<bool> leaveWaits_ = false;
};

}  // namespace client
