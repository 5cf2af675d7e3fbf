#include "platform/host/security/capability_sids.h"

#include <openssl/sha.h>

#include <array>
#include <atomic>
#include <string_view>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/host/security/local_copy.h"

namespace host::security {
namespace {

std::atomic<DWORD> derivedCount{1};

// SHA-256 of the upper-cased name in UTF-16, as eight little-endian numbers.
std::array<DWORD, 8> HashOf(std::u16string_view name) {
  const std::u16string upper = ToUpper(name);
  std::array<DWORD, 8> hash{};
  static_assert(sizeof hash == SHA256_DIGEST_LENGTH);
  SHA256(reinterpret_cast<const unsigned char*>(upper.data()), upper.size() * sizeof(char16_t),
         reinterpret_cast<unsigned char*>(hash.data()));
  return hash;
}

Bytes DerivedSid(const SID_IDENTIFIER_AUTHORITY& authority, std::vector<DWORD> prefix,
                 const std::array<DWORD, 8>& hash) {
  prefix.insert(prefix.end(), hash.begin(), hash.end());
  return MakeSid(authority, prefix);
}

void ReleaseSids(PSID* sids, DWORD count) {
  for (DWORD index = 0; sids && index < count; ++index) LocalFree(sids[index]);
  LocalFree(sids);
}

// An array of `count` copies, all on the local heap; null when there is no memory.
PSID* LocalSids(const Bytes& sid, DWORD count) {
  auto* sids = static_cast<PSID*>(LocalAlloc(LPTR, (count + 1) * sizeof(PSID)));
  for (DWORD index = 0; sids && index < count; ++index) {
    sids[index] = LocalCopy(sid);
    if (sids[index]) continue;
    ReleaseSids(sids, index);
    return nullptr;
  }
  return sids;
}

}  // namespace
}  // namespace host::security

using namespace host::security;  // NOLINT: the flat call is a thin form of these functions

BOOL DeriveCapabilitySidsFromName(LPCWSTR name, PSID** groupSids, DWORD* groupSidCount, PSID** sids, DWORD* sidCount) {
  if (const auto injected = host::InjectedFailure("DeriveCapabilitySidsFromName")) return host::FailWith(*injected);
  if (!name || !groupSids || !groupSidCount || !sids || !sidCount) return host::FailWith(ERROR_INVALID_PARAMETER);
  const std::array<DWORD, 8> hash = HashOf(name);
  const DWORD count = derivedCount;
  PSID* groups = LocalSids(DerivedSid(SECURITY_NT_AUTHORITY, {32}, hash), 1);
  PSID* capabilities = LocalSids(DerivedSid(SECURITY_APP_PACKAGE_AUTHORITY, {3, 1024}, hash), count);
  if (!groups || !capabilities) {
    ReleaseSids(groups, 1);
    ReleaseSids(capabilities, count);
    return host::FailWith(ERROR_NOT_ENOUGH_MEMORY);
  }
  *groupSids = groups;
  *groupSidCount = 1;
  *sids = capabilities;
  *sidCount = count;
  return TRUE;
}

namespace host {

void SetDerivedCapabilityCount(DWORD count) {
  derivedCount = count;
}

void RegisterCapabilityModule() {
  static const bool registered = [] {
    // By way of the plain function type, which may be cast to any other.
    const auto plain = reinterpret_cast<void (*)()>(&DeriveCapabilitySidsFromName);
    RegisterSystemModule(u"api-ms-win-security-base-l1-2-2.dll",
                         {{"DeriveCapabilitySidsFromName", reinterpret_cast<FARPROC>(plain)}});
    return true;
  }();
  static_cast<void>(registered);
}

}  // namespace host
