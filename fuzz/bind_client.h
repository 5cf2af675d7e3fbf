// A client of the fuzzed server that knows what it has been granted, and holds every answer of the server against that.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <span>

#include "fuzz/rpc_server.h"

// What the clients of one server hold, as they know it.
struct Granted {
  struct Group {
    std::uint64_t process;  // its start time
    unsigned connections;
  };
  std::map<std::uint32_t, Group> groups;                       // association groups with a connection
  std::map<std::array<std::byte, 20>, std::uint32_t> handles;  // context handles not closed, with their groups
  host::rpc::ContextToken lastHandle;
};

class BindClient {
 public:
  BindClient(FuzzServer& server, const host::rpc::Peer& peer, Granted& granted);
  ~BindClient();
  BindClient(const BindClient&) = delete;
  BindClient& operator=(const BindClient&) = delete;

  // One PDU of any content. Checks the answer, and keeps what it grants.
  void Send(std::span<const std::byte> pdu);

  bool Over() const { return connection_.Over(); }
  std::uint32_t Group() const { return group_; }
  // The transfer syntax of a context, NDR when it has not been accepted.
  host::rpc::Syntax SyntaxOf(std::uint16_t context) const;

 private:
  struct Context {
    const host::rpc::InterfaceDescription* interface;
    host::rpc::Syntax syntax;
  };
  using Answer = std::optional<ServerAnswer>;

  void CheckBind(const host::rpc::PduHeader& header, const host::rpc::BindPdu& bind, const Answer& answer);
  bool MayBind(const host::rpc::PduHeader& header, const host::rpc::BindPdu& bind) const;
  void Join(std::uint32_t asked, std::uint32_t group);
  void CheckResults(bool first, const host::rpc::BindPdu& bind, const host::rpc::BindAckPdu& ack);
  void CheckRequest(const host::rpc::PduHeader& header, const host::rpc::RequestPdu& request, const Answer& answer);
  std::uint32_t ExpectedFault(const host::rpc::RequestPdu& request, host::rpc::Call& call) const;
  void CheckResponse(const host::rpc::RequestPdu& request, const host::rpc::Call& sent, const ServerAnswer& answer);

  const std::uint64_t process_;
  Granted& granted_;
  FuzzConnection connection_;
  std::uint32_t group_ = 0;  // 0: not bound
  std::map<std::uint16_t, Context> contexts_;
};
