#include "platform/host/rpc/server_negotiation.h"

#include <algorithm>
#include <utility>

#include "platform/host/rpc/client_share.h"

namespace host::rpc {

namespace {

bool Offers(const ContextElement& element, const SyntaxId& syntax) {
  const auto& offered = element.transferSyntaxes;
  return std::find(offered.begin(), offered.end(), syntax) != offered.end();
}

bool AnyOffersNdr64(const std::vector<ContextElement>& elements, const SyntaxId& abstractSyntax) {
  return std::any_of(elements.begin(), elements.end(), [&](const ContextElement& element) {
    return element.abstractSyntax == abstractSyntax && Offers(element, kNdr64Syntax);
  });
}

ContextResult Rejected(std::uint16_t reason) {
  return {kResultProviderRejection, reason, {}};
}

// Empty for an element that does not ask for features.
std::optional<std::uint16_t> AcceptedFeatures(const ContextElement& element) {
  if (element.transferSyntaxes.size() != 1) return std::nullopt;
  const auto asked = FeaturesOf(element.transferSyntaxes.front());
  if (!asked) return std::nullopt;
  return static_cast<std::uint16_t>(*asked & (kFeatureMultiplexing | kFeatureKeepOnOrphan));
}

}  // namespace

PresentationContext* FindContext(PresentationContexts& contexts, std::uint16_t id) {
  const auto found =
      std::find_if(contexts.begin(), contexts.end(), [id](const auto& context) { return context.id == id; });
  return found == contexts.end() ? nullptr : &*found;
}

std::vector<ContextResult> Negotiate(InterfaceTable& interfaces, const Identity& client,
                                     const std::vector<ContextElement>& elements, bool features,
                                     PresentationContexts& contexts) {
  std::vector<ContextResult> results;
  const ServerInterface* asked = nullptr;  // whose descriptor has said `granted`
  bool granted = false;
  for (const auto& element : elements) {
    const auto accepted = AcceptedFeatures(element);
    if (features && accepted) {
      results.push_back({kResultNegotiateAck, *accepted, {}});
      continue;
    }
    const auto& wanted = element.abstractSyntax;
    ServerInterface* interface = interfaces.Find(wanted.uuid, wanted.majorVersion, wanted.minorVersion);
    if (interface == nullptr) {
      results.push_back(Rejected(kReasonAbstractSyntax));
      continue;
    }
    const bool ndr64 = AnyOffersNdr64(elements, wanted);
    const SyntaxId& syntax = ndr64 ? kNdr64Syntax : kNdrSyntax;
    if (!Offers(element, syntax)) {
      results.push_back(Rejected(kReasonTransferSyntaxes));
      continue;
    }
    auto* context = FindContext(contexts, element.id);
    if (context == nullptr && contexts.size() >= kMaxPresentationContexts) {
      results.push_back(Rejected(kReasonLocalLimit));
      continue;
    }
    if (std::exchange(asked, interface) != interface) granted = interfaces.Grants(*interface, client);
    if (context == nullptr) context = &contexts.emplace_back();
    *context = {element.id, interface, ndr64 ? Syntax::Ndr64 : Syntax::Ndr, granted};
    results.push_back({kResultAccepted, 0, syntax});
  }
  return results;
}

}  // namespace host::rpc
