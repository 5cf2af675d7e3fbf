// Client processes that do what they should not, until they are killed.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/stub.h"
#include "tests/rpc/raw_client.h"

extern const host::rpc::InterfaceDescription kServiceInterface;

// What a behaviour may need to know of the others.
struct Victims {
  std::uint32_t group = 0;            // another client's association
  host::rpc::ContextToken session{};  // and its device handle
  int step = 0;
};

// A client connects, binds where `bound` says so, sends `bytes` and does what `act` does. The outcome is what `act`
// answers, and where that is empty what the server says: "nak 4, closed", "fault 6f7" (of a call that
// was not executed), "ack 0.0", "response", "silent". `expected` is what is waited for.
struct Behaviour {
  const char* what;
  const char* expected;
  bool bound;
  host::rpc::Bytes bytes;
  std::string (*act)(RawClient& client, const Victims& victims) = nullptr;
};

// Made before the process has threads: a process of its own, which makes the clients.
class HostileProcesses {
 public:
  HostileProcesses();
  // Kills all that is left.
  ~HostileProcesses();
  HostileProcesses(const HostileProcesses&) = delete;
  HostileProcesses& operator=(const HostileProcesses&) = delete;

  // `behaviour` is there since before this object. The client is one of this process's machine.
  void Start(const Behaviour& behaviour, const Victims& victims = {});
  // The outcome of the one started last, which stays as it is; empty when there is none in time.
  std::optional<std::string> Outcome(std::chrono::milliseconds timeout = std::chrono::seconds(20));
  void Kill();

 private:
  [[noreturn]] void MakeClients();

  pid_t maker_ = -1;
  int here_ = -1;
  int there_ = -1;
  pid_t client_ = -1;
};
