#include "platform/host/kernel/paths.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/unsupported.h"

namespace {

constexpr std::u16string_view kSeparators = u"/\\";

bool IsSeparator(char16_t unit) {
  return kSeparators.find(unit) != std::u16string_view::npos;
}

// The length of the path; none when the arguments are not a terminated path.
std::optional<size_t> PathLength(PCWSTR path, size_t size) {
  if (!path || size == 0 || size > PATHCCH_MAX_CCH) return std::nullopt;
  const auto* end = std::find(path, path + size, u'\0');
  if (end == path + size) return std::nullopt;
  return static_cast<size_t>(end - path);
}

bool HasDotElement(std::u16string_view path) {
  while (!path.empty()) {
    const size_t length = std::min(path.find_first_of(kSeparators), path.size());
    const std::u16string_view element = path.substr(0, length);
    if (element == u"." || element == u"..") return true;
    path.remove_prefix(std::min(length + 1, path.size()));
  }
  return false;
}

HRESULT FailEmpty(PWSTR path, HRESULT code) {
  *path = u'\0';
  return code;
}

}  // namespace

HRESULT PathCchRemoveFileSpec(PWSTR path, size_t size) {
  if (const auto code = host::InjectedFailure("PathCchRemoveFileSpec")) return static_cast<HRESULT>(*code);
  const auto length = PathLength(path, size);
  if (!length) return E_INVALIDARG;
  const size_t root = IsSeparator(path[0]) ? 1 : 0;
  const size_t separator = std::u16string_view(path, *length).find_last_of(kSeparators);
  const size_t kept = separator == std::u16string_view::npos ? 0 : std::max(separator, root);
  if (kept == *length) return S_FALSE;
  path[kept] = u'\0';
  return S_OK;
}

HRESULT PathCchAppend(PWSTR path, size_t size, PCWSTR more) {
  if (const auto code = host::InjectedFailure("PathCchAppend")) return static_cast<HRESULT>(*code);
  const auto length = PathLength(path, size);
  if (!length || !more) return E_INVALIDARG;
  std::u16string_view tail(more);
  if (tail.size() >= PATHCCH_MAX_CCH) return PATHCCH_E_FILENAME_TOO_LONG;
  if (HasDotElement(tail)) host::Unsupported("PathCchAppend", "an element \".\" or \"..\"");
  if (*length > 0 && !tail.empty() && IsSeparator(tail[0])) tail.remove_prefix(1);
  const bool needsSeparator = *length > 0 && !tail.empty() && !IsSeparator(path[*length - 1]);
  const size_t total = *length + (needsSeparator ? 1 : 0) + tail.size();
  if (total >= size) return FailEmpty(path, HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER));
  PWSTR end = path + *length;
  if (needsSeparator) *end++ = u'/';
  *std::copy(tail.begin(), tail.end(), end) = u'\0';
  return S_OK;
}
