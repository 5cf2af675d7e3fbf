// The client's side of a measurement: PDUs prepared beforehand and sent over plain sockets, so that a client costs as
// little as the raw one it is compared with. All of it blocks, and speaks NDR64.
#pragma once

#include <cstdint>
#include <string>

#include "platform/host/rpc/pdu.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/stub.h"

namespace bench {

using host::rpc::Bytes;

// Ends the program: a client could not do `what`.
[[noreturn]] void CannotGoOn(const char* what);

// One procedure of an interface.
struct Target {
  const host::rpc::Procedure* procedure = nullptr;
  std::uint16_t number = 0;
};

// The product's interface, and one of its procedures.
host::rpc::SyntaxId ProductInterface();
Target ProductProcedure(std::uint16_t number);

// A connection to the endpoint at `socketPath`, bound to `interface`; -1 when there is none.
int ConnectAndBind(const std::string& socketPath, const host::rpc::SyntaxId& interface);

// The whole request, with call identifier 2. `call` has an argument for each parameter.
Bytes RequestFor(const Target& target, const host::rpc::Call& call);

bool Send(int socket, const Bytes& bytes);

// One PDU; empty when the server has closed or says something that is not a PDU.
Bytes ReceivePdu(int socket);

// Reads the answer to a request; false unless it is a response whose result is 0.
bool ReadAnswer(const Target& target, const Bytes& pdu, host::rpc::Call& call);

// A call without arguments that gives out a context handle; null when it does not.
host::rpc::ContextToken OpenHandle(int socket, const Target& target);

}  // namespace bench
