#include "platform/host/registry/key_name.h"

#include <algorithm>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"

namespace host::registry {
namespace {

// Where the 32-bit side's name has to stand in the path, or -1 when nothing is redirected.
int RedirectedStep(KeyId start, const std::vector<KeyName>& steps) {
  static const std::string software = MakeKeyName(u"SOFTWARE").folded;
  if (start == kMachineRoot && !steps.empty() && steps[0].folded == software) return 1;
  return start == kSoftwareKey && !steps.empty() ? 0 : -1;
}

}  // namespace

KeyName MakeKeyName(std::u16string_view text) {
  KeyName name{std::u16string(text), {}};
  name.folded.reserve(text.size() * 2);
  for (const char16_t unit : text) {
    const char16_t upper = ToUpper(unit);
    name.folded += static_cast<char>(upper >> 8);
    name.folded += static_cast<char>(upper & 0xFF);
  }
  return name;
}

bool MakeValueName(const char16_t* text, KeyName* name) {
  const std::u16string_view view = text ? std::u16string_view(text) : std::u16string_view();
  if (view.size() > kLongestValueName) return false;
  *name = MakeKeyName(view);
  return true;
}

DWORD SplitPath(const char16_t* path, std::vector<KeyName>* steps) {
  if (!path || !*path) return ERROR_SUCCESS;
  if (*path == u'\\') return ERROR_BAD_PATHNAME;
  std::u16string_view rest(path);
  while (!rest.empty()) {
    const std::u16string_view step = rest.substr(0, rest.find(u'\\'));
    if (step.size() > kLongestKeyName) return ERROR_INVALID_PARAMETER;
    if (!step.empty()) steps->push_back(MakeKeyName(step));
    if (steps->size() > kDeepestPath) return ERROR_INVALID_PARAMETER;
    rest.remove_prefix(std::min(step.size() + 1, rest.size()));
  }
  return ERROR_SUCCESS;
}

void RedirectTo32Bit(KeyId start, std::vector<KeyName>* steps) {
  static const KeyName side = MakeKeyName(u"WOW6432Node");
  const int at = RedirectedStep(start, *steps);
  if (at < 0) return;
  const auto position = static_cast<std::size_t>(at);
  if (position < steps->size() && (*steps)[position].folded == side.folded) return;
  steps->insert(steps->begin() + at, side);
}

}  // namespace host::registry
