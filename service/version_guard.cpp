#include "service/version_guard.h"

#include "common/handles.h"
#include "common/service_name.h"
#include "service/registry_paths.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr std::uint32_t kLastOldVersion = 3;

using VersionBuffer = WCHAR[kVersionCapacity];

bool ReadInstalledVersion(VersionBuffer& version) {
  DWORD size = sizeof(version);
  return RegGetValueW(HKEY_LOCAL_MACHINE, kProductKey, kCurrentVersionValue, RRF_RT_REG_SZ, nullptr, version, &size) ==
         ERROR_SUCCESS;
}

bool IsDigit(WCHAR character) {
  return character >= '0' && character <= '9';
}

}  // namespace

std::optional<std::uint32_t> FirstVersionNumber(const WCHAR* version) {
  while (*version == ' ' || (*version >= '\t' && *version <= '\r')) ++version;
  const WCHAR* digits = (*version == '+' || *version == '-') ? version + 1 : version;
  if (!IsDigit(*digits)) return std::nullopt;
  std::uint32_t number = 0;
  for (const WCHAR* at = digits; IsDigit(*at); ++at) {
    const std::uint64_t next = std::uint64_t{number} * 10 + static_cast<std::uint32_t>(*at - '0');
    number = next > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<std::uint32_t>(next);
  }
  return *version == '-' ? 0u - number : number;
}

bool HasInstalledVersion() {
  VersionBuffer version;
  return ReadInstalledVersion(version) && version[0] != 0;
}

bool IsInstalledVersionTooOld() {
  VersionBuffer version;
  if (!ReadInstalledVersion(version)) return false;
  const auto first = FirstVersionNumber(version);
  return first && *first <= kLastOldVersion;
}

void SetServiceToDemandStart() {
  const Common::UniqueServiceHandle manager(OpenSCManagerW(nullptr, SERVICES_ACTIVE_DATABASEW, SC_MANAGER_ALL_ACCESS));
  if (!manager) return;
  const Common::UniqueServiceHandle service(OpenServiceW(manager.Get(), Common::kServiceName, SERVICE_CHANGE_CONFIG));
  if (!service) return;
  ChangeServiceConfigW(service.Get(), SERVICE_NO_CHANGE, SERVICE_DEMAND_START, SERVICE_NO_CHANGE, nullptr, nullptr,
                       nullptr, nullptr, nullptr, nullptr, nullptr);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
