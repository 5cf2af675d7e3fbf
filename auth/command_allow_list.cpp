#include "auth/command_allow_list.h"

#include <algorithm>
#include <vector>

#include "auth/device_software_key.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr DWORD kReadFlags = RRF_RT_REG_MULTI_SZ | RRF_ZEROONFAILURE;

// The characters up to the first null, or all of them.
WideString FirstString(std::span<const WCHAR> strings) {
  return {strings.begin(), std::find(strings.begin(), strings.end(), WCHAR{0})};
}

// The data of the entry; none when it cannot be read as it was a moment ago.
std::vector<WCHAR> ReadEntry(HKEY key, const WCHAR* identifier) {
  DWORD size = 0;
  if (RegGetValueW(key, kCommandKey, identifier, kReadFlags, nullptr, nullptr, &size) != ERROR_SUCCESS) return {};
  std::vector<WCHAR> data((size + sizeof(WCHAR) - 1) / sizeof(WCHAR));
  if (data.empty()) return {};
  if (RegGetValueW(key, kCommandKey, identifier, kReadFlags, nullptr, data.data(), &size) != ERROR_SUCCESS) return {};
  return data;
}

}  // namespace

AllowedCommand DecodeAllowedCommand(std::span<const WCHAR> strings) {
  AllowedCommand command;
  command.application = FirstString(strings);
  const std::size_t next = command.application.size() + 1;
  if (next < strings.size()) command.parameters = FirstString(strings.subspan(next));
  return command;
}

AllowedCommand GetAllowedCommand(const WCHAR* identifier) {
  const Common::UniqueRegistryKey key = OpenDeviceSoftwareKey();
  if (!key) return {};
  return DecodeAllowedCommand(ReadEntry(key.Get(), identifier));
}

}  // namespace Quorvex::PC::Hkd04a7::Service
