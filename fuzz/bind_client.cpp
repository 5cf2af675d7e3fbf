#include "fuzz/bind_client.h"

#include <algorithm>

#include "fuzz/check.h"
#include "fuzz/rpc_interface.h"
#include "platform/host/rpc/pdu_parse.h"

using namespace host::rpc;

namespace {

// Whether the element may have been accepted as this interface.
bool Means(const ContextElement& element, const InterfaceDescription& interface) {
  const SyntaxId& asked = element.abstractSyntax;
  return SameUuid(asked.uuid, interface.uuid) && asked.majorVersion == interface.majorVersion &&
         asked.minorVersion <= interface.minorVersion;
}

const InterfaceDescription* InterfaceOf(const ContextElement& element) {
  for (const auto* interface : {&kOpenInterface, &kGuardedInterface})
    if (Means(element, *interface)) return interface;
  return nullptr;
}

bool Offers(const ContextElement& element, const SyntaxId& syntax) {
  const auto& offered = element.transferSyntaxes;
  return std::find(offered.begin(), offered.end(), syntax) != offered.end();
}

bool AsksForFeatures(const ContextElement& element) {
  return element.transferSyntaxes.size() == 1 && FeaturesOf(element.transferSyntaxes[0]);
}

// Any other element that offers the same interface a better syntax.
bool OfferedBetter(const BindPdu& bind, const ContextElement& element) {
  return std::any_of(bind.contexts.begin(), bind.contexts.end(), [&](const ContextElement& other) {
    return other.abstractSyntax == element.abstractSyntax && Offers(other, kNdr64Syntax);
  });
}

}  // namespace

BindClient::BindClient(FuzzServer& server, const Peer& peer, Granted& granted)
    : process_(peer.startTime), granted_(granted), connection_(server, peer) {}

BindClient::~BindClient() {
  if (group_ != 0 && --granted_.groups.at(group_).connections == 0) granted_.groups.erase(group_);
}

Syntax BindClient::SyntaxOf(std::uint16_t context) const {
  const auto found = contexts_.find(context);
  return found == contexts_.end() ? Syntax::Ndr : found->second.syntax;
}

void BindClient::Send(std::span<const std::byte> pdu) {
  const Answer answer = connection_.Send(pdu);
  PduHeader header;
  const PduError error = ParseHeader(pdu.first<kHeaderSize>(), header);
  if (error) return Check(Over(), "a header that cannot be read ends the connection");
  if (answer) Check(answer->header.callId == header.callId, "an answer has the number of what it answers");
  BindPdu bind;
  RequestPdu request;
  const bool binds = header.type == PduType::Bind || header.type == PduType::AlterContext;
  if (binds && !ParseBind(header, pdu, bind)) return CheckBind(header, bind, answer);
  const bool whole = header.type == PduType::Request && header.IsWhole();
  if (whole && !ParseRequest(header, pdu, request)) return CheckRequest(header, request, answer);
  if (binds || whole) Check(answer.has_value(), "what has an answer is answered");
}

bool BindClient::MayBind(const PduHeader& header, const BindPdu& bind) const {
  const bool first = header.type == PduType::Bind;
  if (first != (group_ == 0) || bind.contexts.size() > kMaxPresentationContexts) return false;
  if (!first || bind.associationGroup == 0) return true;
  const auto joined = granted_.groups.find(bind.associationGroup);
  return joined != granted_.groups.end() && joined->second.process == process_;
}

void BindClient::CheckBind(const PduHeader& header, const BindPdu& bind, const Answer& answer) {
  Check(answer.has_value(), "a bind is answered");
  const bool first = header.type == PduType::Bind;
  if (!MayBind(header, bind)) {
    Check(answer->header.type == PduType::BindNak && Over(), "a bind out of its place is refused");
    return;
  }
  Check(answer->header.type == (first ? PduType::BindAck : PduType::AlterContextResponse), "a bind is acknowledged");
  BindAckPdu ack;
  Check(!ParseBindAck(answer->header, answer->pdu, ack), "an acknowledgement can be read");
  Check(ack.secondaryAddress == (first ? "Endpoint" : ""), "a bind is told the endpoint");
  Check(ack.maxTransmit >= kMinFragment && ack.maxTransmit <= kMaxFragment,
        "fragments have a length that all can take");
  if (first) Join(bind.associationGroup, ack.associationGroup);
  Check(ack.associationGroup == group_, "a connection stays in its group");
  CheckResults(first, bind, ack);
}

void BindClient::Join(std::uint32_t asked, std::uint32_t group) {
  const bool known = granted_.groups.count(group) != 0;
  Check(group != 0 && (asked == 0 ? !known : asked == group), "a bind gets the group it asked for, or a new one");
  group_ = group;
  Granted::Group& joined = granted_.groups[group];
  joined.process = process_;
  ++joined.connections;
}

void BindClient::CheckResults(bool first, const BindPdu& bind, const BindAckPdu& ack) {
  Check(ack.results.size() == bind.contexts.size(), "every context has a result");
  for (std::size_t i = 0; i < ack.results.size(); ++i) {
    const ContextElement& element = bind.contexts[i];
    const ContextResult& result = ack.results[i];
    const bool features = first && AsksForFeatures(element);
    Check(features == (result.result == kResultNegotiateAck), "a bind, and only a bind, negotiates features");
    if (result.result != kResultAccepted) Check(result.transferSyntax == SyntaxId{}, "what is refused has no syntax");
    if (features) {
      Check((result.reason & ~*FeaturesOf(element.transferSyntaxes[0])) == 0, "no feature is granted unasked");
      continue;
    }
    const auto* interface = InterfaceOf(element);
    const SyntaxId& best = OfferedBetter(bind, element) ? kNdr64Syntax : kNdrSyntax;
    std::uint16_t reason = 0;
    if (interface == nullptr) {
      reason = kReasonAbstractSyntax;
    } else if (!Offers(element, best)) {
      reason = kReasonTransferSyntaxes;
    } else if (contexts_.size() >= kMaxPresentationContexts && contexts_.count(element.id) == 0) {
      reason = kReasonLocalLimit;
    }
    Check(result.reason == reason, "a context is refused for its reason, or not at all");
    Check(result.result == (reason == 0 ? kResultAccepted : kResultProviderRejection), "a reason is a refusal");
    if (reason != 0) continue;
    Check(result.transferSyntax == best, "a context has the best syntax that is offered for its interface");
    contexts_[element.id] = {interface, best == kNdr64Syntax ? Syntax::Ndr64 : Syntax::Ndr};
  }
}

// Reads the request into `call` as far as it is good; the fault it has to get, or 0.
std::uint32_t BindClient::ExpectedFault(const RequestPdu& request, Call& call) const {
  const auto context = contexts_.find(request.contextId);
  if (context == contexts_.end()) return kFaultBadPresentationContext;
  if (context->second.interface == &kGuardedInterface) return kFaultAccessDenied;
  if (request.procedure >= kFuzzProcedureCount) return kFaultProcedureOutOfRange;
  const Procedure& procedure = kOpenInterface.procedures[request.procedure];
  if (const auto fault = ReadRequest(procedure, context->second.syntax, request.stub, call)) return fault;
  if (request.procedure == kOpen) return 0;
  const auto handle = granted_.handles.find(call.arguments[0].token.bytes);
  const bool own = handle != granted_.handles.end() && handle->second == group_;
  return own ? 0 : kFaultContextMismatch;
}

void BindClient::CheckRequest(const PduHeader&, const RequestPdu& request, const Answer& answer) {
  Check(answer.has_value(), "a request is answered");
  Call call;
  const std::uint32_t expected = ExpectedFault(request, call);
  if (expected == 0) return CheckResponse(request, call, *answer);
  FaultPdu fault;
  Check(answer->header.type == PduType::Fault, "a request that cannot be served gets a fault");
  Check(!ParseFault(answer->header, answer->pdu, fault), "a fault can be read");
  Check(fault.status == expected, "a fault says what is wrong");
  Check((answer->header.flags & kDidNotExecute) != 0, "nothing was run for a request that is refused");
}

void BindClient::CheckResponse(const RequestPdu& request, const Call& sent, const ServerAnswer& answer) {
  Check(answer.header.type == PduType::Response && answer.header.IsWhole(), "a good request gets its response");
  ResponsePdu response;
  Check(!ParseResponse(answer.header, answer.pdu, response), "a response can be read");
  Check(response.contextId == request.contextId, "a response is of the request's context");
  const Procedure& procedure = kOpenInterface.procedures[request.procedure];
  Call call;
  call.arguments.resize(procedure.parameters.size());
  const bool good = ReadResponse(procedure, SyntaxOf(request.contextId), response.stub, call) == 0;
  Check(good && call.result == 0, "a response's results can be read");
  if (request.procedure == kUse) Check(call.arguments[2].number == sent.arguments[1].number, "a result is its call's");
  if (request.procedure == kClose) {
    Check(call.arguments[0].token.IsNull(), "a handle that is closed comes back as null");
    granted_.handles.erase(sent.arguments[0].token.bytes);
  }
  if (request.procedure != kOpen) return;
  granted_.lastHandle = call.arguments[1].token;
  Check(granted_.handles.emplace(granted_.lastHandle.bytes, group_).second, "a new handle is like no other");
}
