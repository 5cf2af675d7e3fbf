// Which interfaces and transfer syntaxes a bind or alter_context gets.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/host/rpc/pdu.h"
#include "platform/host/rpc/server_interfaces.h"

namespace host::rpc {

struct PresentationContext {
  std::uint16_t id = 0;
  ServerInterface* interface = nullptr;
  Syntax syntax = Syntax::Ndr;
  bool granted = false;  // the interface's descriptor lets the client call it
};

using PresentationContexts = std::vector<PresentationContext>;  // of different numbers

// Null when there is none of that number.
PresentationContext* FindContext(PresentationContexts& contexts, std::uint16_t id);

// One result for each element. What is accepted is entered in `contexts`. Of the elements that offer one interface,
// only those of the preferred syntax are accepted: NDR64 where it is offered, else NDR. Bind-time features are answered
// where `features` says so (in a bind).
std::vector<ContextResult> Negotiate(InterfaceTable& interfaces, const Identity& client,
                                     const std::vector<ContextElement>& elements, bool features,
                                     PresentationContexts& contexts);

}  // namespace host::rpc
