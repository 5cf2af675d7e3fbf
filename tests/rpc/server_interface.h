// A small interface for tests of the server runtime: sessions whose calls take turns, and subscriptions with
// asynchronous waits. What its routines do beyond bookkeeping is for the test to say.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/rpc/rpc_async.h"
#include "platform/host/rpc/stub.h"

enum TestProcedure : std::uint16_t {
  kOpenSession,        // out session
  kCloseSession,       // in, out session
  kUseSession,         // in session, in number, out number: through `use`
  kSessionWait,        // asynchronous: in session, out record
  kOpenSubscription,   // out subscription
  kCloseSubscription,  // in, out subscription
  kUseSubscription,    // in subscription, in number, out number: through `use`
  kWait,               // asynchronous: in subscription, out record
  kWork,               // in number, out number: through `use`
  kLength,             // in text, out number
  kTestProcedureCount
};

struct PendingWait {
  PRPC_ASYNC_STATE state;
  std::uint32_t* record;  // three words
};

// What the routines share with the test. One for the process; each case runs in a process of its own.
struct TestServer {
  static TestServer& Instance();
  // As at the start of the process.
  void Reset();

  std::atomic<int> running{0};
  std::atomic<int> mostRunning{0};

  // Runs in the routines that take a number; answers what they give back; without it that is the number. Set before the
  // first call.
  std::function<std::uint32_t(std::uint32_t)> use;
  // Runs in kWait and kSessionWait instead of keeping the call.
  std::function<void(PendingWait)> wait;

  std::mutex lock;
  std::vector<PendingWait> pending;
  std::vector<std::string> rundowns;  // "session 1", "subscription 2", by order of creation
  std::uint32_t created = 0;

  std::size_t PendingCount();
  PendingWait TakePending();
  std::vector<std::string> Rundowns();
};

extern const host::rpc::InterfaceDescription kTestInterface;
extern const host::rpc::InterfaceDescription kOtherInterface;  // one procedure: kWork's
