// String bindings: "object@ncalrpc:address[endpoint,options]", every part but the protocol sequence optional.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace host::rpc {

struct StringBinding {
  std::u16string objectUuid;
  std::u16string protocolSequence;
  std::u16string networkAddress;
  std::u16string endpoint;
  std::u16string options;
};

std::u16string ComposeStringBinding(const StringBinding& parts);

// Nothing when the text has not the form above. The parts themselves are not looked at.
std::optional<StringBinding> ParseStringBinding(std::u16string_view text);

}  // namespace host::rpc
