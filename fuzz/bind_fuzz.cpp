// Bind negotiation: a few clients, of two processes, bind, alter their contexts and make calls on them, with PDUs made
// as the input says and damaged where it says so. The clients check every answer, and at the end nothing of them is
// left in the server.
#include <algorithm>
#include <cstring>
#include <memory>

#include "fuzz/bind_client.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/rpc_interface.h"

namespace {

using namespace host::rpc;

constexpr unsigned kClients = 4;
constexpr int kMostSteps = 64;

template <typename Value, std::size_t count>
const Value& Choose(Input& input, const Value (&values)[count]) {
  return values[input.Get<std::uint8_t>() % count];
}

SyntaxId Abstract(const InterfaceDescription& interface, int major, int minor) {
  return {interface.uuid, static_cast<std::uint16_t>(interface.majorVersion + major),
          static_cast<std::uint16_t>(interface.minorVersion + minor)};
}

SyntaxId TakeAbstract(Input& input) {
  const SyntaxId known[] = {Abstract(kOpenInterface, 0, 0),    Abstract(kOpenInterface, 0, -1),
                            Abstract(kOpenInterface, 0, 1),    Abstract(kOpenInterface, 1, 0),
                            Abstract(kGuardedInterface, 0, 0), kNdrSyntax};
  return Choose(input, known);
}

SyntaxId TakeTransfer(Input& input) {
  SyntaxId older = kNdr64Syntax;
  older.majorVersion = 0;
  const SyntaxId known[] = {kNdrSyntax, kNdr64Syntax, FeatureSyntax(3), FeatureSyntax(0xFFFC), older};
  return Choose(input, known);
}

BindPdu TakeBind(Input& input, std::uint32_t otherGroup) {
  BindPdu bind;
  bind.maxReceive = input.Get<std::uint16_t>();
  const std::uint32_t groups[] = {0, 0, otherGroup, otherGroup + 1};
  bind.associationGroup = Choose(input, groups);
  const unsigned count = input.Get<std::uint8_t>() % 40;
  for (unsigned i = 0; i < count && input.HasMore(); ++i) {
    ContextElement& element = bind.contexts.emplace_back();
    element.id = input.Get<std::uint8_t>();
    element.abstractSyntax = TakeAbstract(input);
    for (unsigned left = input.Get<std::uint8_t>() % 4; left > 0; --left)
      element.transferSyntaxes.push_back(TakeTransfer(input));
  }
  return bind;
}

void AppendCall(Input& input, std::uint32_t callId, const BindClient& client, const ContextToken& handle, Bytes& out) {
  RequestPdu request;
  request.contextId = input.Get<std::uint8_t>();
  request.procedure = input.Get<std::uint8_t>() % (kFuzzProcedureCount + 1);
  const Procedure& procedure = kOpenInterface.procedures[request.procedure % kFuzzProcedureCount];
  Call call;
  call.arguments.resize(procedure.parameters.size());
  for (Argument& argument : call.arguments) {
    argument.token = handle;
    argument.number = input.Get<std::uint8_t>();
  }
  Bytes stub;
  WriteRequest(procedure, client.SyntaxOf(request.contextId), call, stub);
  request.stub = stub;
  AppendRequest(callId, request, kMaxFragment, out);
}

// Bytes of the input as one PDU of their length.
void AppendRaw(Input& input, Bytes& out) {
  const auto bytes = input.Take(std::min<std::size_t>(input.Get<std::uint8_t>(), input.Left()));
  out.assign(bytes.begin(), bytes.end());
  out.resize(std::max(out.size(), kHeaderSize));
  const auto length = static_cast<std::uint16_t>(out.size());
  std::memcpy(&out[8], &length, sizeof(length));
}

// Changes bytes anywhere but in the length.
void Damage(Input& input, Bytes& pdu) {
  for (unsigned left = input.Get<std::uint8_t>() % 4; left > 0; --left) {
    const std::size_t at = input.Get<std::uint16_t>() % pdu.size();
    const auto value = static_cast<std::byte>(input.Get<std::uint8_t>());
    if (at != 8 && at != 9) pdu[at] = value;
  }
}

class Scene {
 public:
  Scene() {
    for (unsigned i = 0; i < kClients; ++i) peers_[i] = i < kClients - 1 ? OneProcess() : OtherProcess();
  }
  ~Scene() {
    for (auto& client : clients_) client.reset();
    for (const Peer& peer : peers_) CheckReleased(*peer.share);
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  // The first byte: which client, and what it sends.
  void Step(Input& input, std::uint32_t callId) {
    const auto choice = input.Get<std::uint8_t>();
    auto& client = clients_[choice % kClients];
    if (!client) client = std::make_unique<BindClient>(server_, peers_[choice % kClients], granted_);
    Bytes pdu;
    switch (choice / kClients % 8) {
      case 0:
      case 1:
        AppendBind(PduType::Bind, callId, TakeBind(input, OtherGroup()), pdu);
        break;
      case 2:
      case 3:
        AppendBind(PduType::AlterContext, callId, TakeBind(input, OtherGroup()), pdu);
        break;
      case 4:
      case 5:
        AppendCall(input, callId, *client, granted_.lastHandle, pdu);
        break;
      case 6:
        AppendRaw(input, pdu);
        break;
      default:
        return client.reset();
    }
    if (choice >= 0x80) Damage(input, pdu);
    if (pdu.size() > kMaxFragment) return;
    client->Send(pdu);
    if (client->Over()) client.reset();
  }

 private:
  static Peer OneProcess() {
    static const auto token = std::make_shared<const host::TokenFacts>(host::TokenFacts{"S-1-5-21-1"});
    Peer peer;
    peer.pid = 100;
    peer.token = token;
    return peer;
  }
  static Peer OtherProcess() {
    Peer peer = OneProcess();
    peer.startTime = 1;
    return peer;
  }
  static void CheckReleased(const ClientShare& share) {
    Check(share.handles == 0 && share.requestBytes == 0, "a client's share is given back");
    Check(share.limitedCalls == 0 && share.asynchronousCalls == 0, "a client's calls are ended");
    Check(share.unsentBytes == 0, "nothing is left to send");
  }
  std::uint32_t OtherGroup() const { return granted_.groups.empty() ? 1 : granted_.groups.begin()->first; }

  FuzzServer server_;
  Granted granted_;
  Peer peers_[kClients];
  std::unique_ptr<BindClient> clients_[kClients];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  Scene scene;
  for (int step = 1; step <= kMostSteps && input.HasMore(); ++step) scene.Step(input, static_cast<std::uint32_t>(step));
  return 0;
}
