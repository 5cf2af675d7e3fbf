// The host's security parts: derived capabilities, merging rules, admission, malformed input.
#include <gtest/gtest.h>

#include <vector>

#include "platform/errors.h"
#include "platform/host/kernel/memory.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/host/security/access_list.h"
#include "platform/host/security/capability_sids.h"
#include "platform/host/security/explicit_access.h"
#include "platform/host/security/sddl.h"
#include "platform/host/security/sddl_text.h"
#include "platform/modules.h"
#include "platform/security.h"

namespace {

using host::security::Bytes;

constexpr char kOurCapability[] =
    "S-1-15-3-1024-725278066-3482327732-1334690058-336813951-959172379-567848342-2247572830-1619008730";

using DeriveFunction = BOOL (*)(LPCWSTR, PSID**, DWORD*, PSID**, DWORD*);

struct Derived {
  std::vector<std::string> groups, capabilities;
};

std::vector<std::string> TakeSids(PSID* sids, DWORD count) {
  std::vector<std::string> texts;
  for (DWORD index = 0; index < count; ++index) {
    texts.push_back(host::security::SidText(sids[index]));
    LocalFree(sids[index]);
  }
  LocalFree(sids);
  return texts;
}

// Derives by way of the module, as programs do.
Derived Derive(const char16_t* name) {
  Derived derived;
  HMODULE module = LoadLibraryExW(u"api-ms-win-security-base-l1-2-2.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  EXPECT_NE(nullptr, module) << GetLastError();
  const auto plain = reinterpret_cast<void (*)()>(GetProcAddress(module, "DeriveCapabilitySidsFromName"));
  const auto derive = reinterpret_cast<DeriveFunction>(plain);
  PSID* groups = nullptr;
  PSID* sids = nullptr;
  DWORD groupCount = 0;
  DWORD count = 0;
  EXPECT_TRUE(derive(name, &groups, &groupCount, &sids, &count));
  derived.groups = TakeSids(groups, groupCount);
  derived.capabilities = TakeSids(sids, count);
  FreeLibrary(module);
  return derived;
}

TEST(Capabilities, AreDerivedFromTheNameInAnyCase) {
  const int blocks = host::LocalBlockCount();
  for (const char16_t* name : {u"Quorvex.hkd04A7DeviceHardwareSettings_m3tq8v0kc2wna",
                               u"QUORVEX.HKD04A7DEVICEHARDWARESETTINGS_M3TQ8V0KC2WNA"}) {
    const Derived derived = Derive(name);
    EXPECT_EQ(std::vector<std::string>{kOurCapability}, derived.capabilities);
    ASSERT_EQ(1u, derived.groups.size());
    EXPECT_EQ("S-1-5-32-" + std::string(kOurCapability).substr(14), derived.groups[0]);
  }
  for (const DWORD count : {0u, 2u}) {
    host::SetDerivedCapabilityCount(count);
    EXPECT_EQ(count, Derive(u"x").capabilities.size());
  }
  host::SetDerivedCapabilityCount(1);
  EXPECT_EQ(blocks, host::LocalBlockCount());
}

TEST(ExplicitEntries, ApplyInTheirOrder) {
  const Bytes everyone = host::security::ParseSid("S-1-1-0");
  const Bytes system = host::security::ParseSid("S-1-5-18");
  struct Step {
    ACCESS_MODE mode;
    ACCESS_MASK mask;
    const Bytes* sid;
    const char* expected;  // the list afterwards
  };
  const Step kSteps[] = {
      {GRANT_ACCESS, GENERIC_READ, &everyone, "D:(A;;GR;;;WD)"},
      {GRANT_ACCESS, GENERIC_WRITE, &everyone, "D:(A;;GWGR;;;WD)"},
      {SET_ACCESS, GENERIC_ALL, &system, "D:(A;;GWGR;;;WD)(A;;GA;;;SY)"},
      {DENY_ACCESS, GENERIC_EXECUTE, &everyone, "D:(D;;GX;;;WD)(A;;GWGR;;;WD)(A;;GA;;;SY)"},
      {SET_ACCESS, GENERIC_READ, &everyone, "D:(A;;GR;;;WD)(A;;GA;;;SY)"},
      {REVOKE_ACCESS, 0, &everyone, "D:(A;;GA;;;SY)"},
  };
  host::security::AccessList list;
  for (const Step& step : kSteps) {
    host::security::ApplyEntry(&list, step.mode, step.mask, 0, *step.sid);
    const Bytes encoded = host::security::EncodeList(list);
    host::security::DescriptorParts parts;
    parts.control = SE_DACL_PRESENT;
    parts.dacl = reinterpret_cast<const ACL*>(encoded.data());
    EXPECT_EQ(step.expected, host::security::FormatDacl(parts));
  }
}

TEST(Admission, FollowsTheEntriesInTheirOrder) {
  host::Identity user{"S-1-5-21-1-2-3-1001", false, false, {}};
  host::Identity system{"S-1-5-18", true, false, {}};
  host::Identity container{"S-1-5-21-1-2-3-1001", false, true, {"S-1-15-2-9"}};
  host::Identity capable{"S-1-5-21-1-2-3-1001", false, true, {"S-1-15-2-9", kOurCapability}};
  const std::string both = std::string("D:(A;;GA;;;WD)(A;;GA;;;") + kOurCapability + ")";
  struct Case {
    std::string sddl;
    const host::Identity* identity;
    DWORD desired;
    bool expected;
  };
  const Case kCases[] = {
      {both, &user, GENERIC_ALL, true},
      {both, &container, GENERIC_ALL, false},
      {both, &capable, GENERIC_ALL, true},
      {"D:(A;;GA;;;WD)", &capable, GENERIC_ALL, false},
      {"D:(A;;GA;;;WD)(A;;GA;;;AC)", &container, GENERIC_ALL, true},
      {"D:(A;;0x100000;;;WD)", &user, SYNCHRONIZE, true},
      {"D:(A;;0x100000;;;WD)", &user, SYNCHRONIZE | 2, false},
      {"D:(A;;0x100000;;;WD)(A;;0x1f0003;;;SY)", &user, 2, false},
      {"D:(A;;0x100000;;;WD)(A;;0x1f0003;;;SY)", &system, 0x1F0003, true},
      {"D:(D;;GA;;;S-1-5-21-1-2-3-1001)(A;;GA;;;WD)", &user, 2, false},
      {"D:(A;;GA;;;WD)(D;;GA;;;S-1-5-21-1-2-3-1001)", &user, 2, true},
      {"D:(A;OICIIO;GA;;;WD)", &user, 2, false},
      {"D:", &system, 2, false},
      {"D:NO_ACCESS_CONTROL", &user, 2, true},
      {"", &user, 2, true},
      {"", &container, 2, false},
      {"D:(A;;GA;;;WD", &system, 2, false},
      {"O:SYD:(A;;GA;;;WD)", &system, 2, false},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(c.expected, host::AccessGranted(c.sddl, *c.identity, c.desired)) << c.sddl << " " << c.identity->userSid;
  }
}

TEST(Descriptors, ThatAreMalformedHaveNoText) {
  EXPECT_EQ("", host::DescriptorToSddl(nullptr));
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ULONG size = 0;
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(u"D:(A;;GA;;;WD)(A;;GR;;;SY)", SDDL_REVISION_1,
                                                                   &descriptor, &size));
  EXPECT_EQ("D:(A;;GA;;;WD)(A;;GR;;;SY)", host::DescriptorToSddl(descriptor));
  const auto* bytes = static_cast<const BYTE*>(descriptor);
  // Every byte of the list's header and of the first entry's header, SID revision and count, set to its worst. The
  // offset of the list is trusted. Some of the bytes mean nothing; what counts is that reading stays inside the block.
  for (std::size_t at = sizeof(SECURITY_DESCRIPTOR_RELATIVE); at < size; ++at) {
    for (const BYTE value : {BYTE{0}, BYTE{0x7F}, BYTE{0xFF}}) {
      std::vector<BYTE> damaged(bytes, bytes + size);
      damaged[at] = value;
      const auto* acl = reinterpret_cast<const ACL*>(damaged.data() + sizeof(SECURITY_DESCRIPTOR_RELATIVE));
      if (acl->AclSize > size - sizeof(SECURITY_DESCRIPTOR_RELATIVE)) continue;
      const std::string text = host::DescriptorToSddl(damaged.data());
      EXPECT_TRUE(text.empty() || text.starts_with("D:"));
    }
  }
  std::vector<BYTE> damaged(bytes, bytes + size);
  damaged[sizeof(SECURITY_DESCRIPTOR_RELATIVE) + sizeof(ACL) + 2] = 19;  // the first entry's size, no multiple of four
  EXPECT_EQ("", host::DescriptorToSddl(damaged.data()));
  EXPECT_FALSE(IsValidSecurityDescriptor(damaged.data()));
  LocalFree(descriptor);
}

}  // namespace
