// An RPC server of bytes: a listening socket whose connections a test's script serves, for answers that our own server
// would not give.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/pdu_stream.h"

// One accepted connection, as the script sees it.
class ScriptedConnection {
 public:
  explicit ScriptedConnection(int socket) : socket_(socket) {}
  ~ScriptedConnection();
  ScriptedConnection(const ScriptedConnection&) = delete;
  ScriptedConnection& operator=(const ScriptedConnection&) = delete;

  struct Pdu {
    host::rpc::PduHeader header;
    std::vector<std::byte> bytes;
  };
  // The next PDU of the client; nothing when it has closed.
  std::optional<Pdu> Receive();
  void Send(std::span<const std::byte> bytes);

  // Takes the client's bind and accepts its first context element.
  void AcceptBind(std::uint16_t maxReceive = host::rpc::kMaxFragment);
  // Answers `callId` with this stub data, in fragments of at most `maxFragment`.
  void Respond(std::uint32_t callId, std::span<const std::byte> stub,
               std::uint16_t maxFragment = host::rpc::kMaxFragment);

 private:
  int socket_;
  host::rpc::PduStream stream_;
};

// Serves one connection after another: the n-th with the n-th script. Joins at its end.
class ScriptedServer {
 public:
  using Script = std::function<void(ScriptedConnection&)>;
  ScriptedServer(const std::string& endpoint, std::vector<Script> scripts);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

 private:
  void Serve(const std::vector<Script>& scripts);

  int listener_;
  std::thread thread_;
};
