// Contract: SIDs, access lists and descriptors, compared as text.
#include <gtest/gtest.h>

#include <vector>

#include "platform/errors.h"
#include "platform/memory.h"
#include "platform/security.h"

namespace {

const WideString kCapability = W("S-1-15-3-1024-1-2-3-4-5-6-7-4294967295");

// The text form of a descriptor's DACL, or the error's number.
WideString Text(PSECURITY_DESCRIPTOR descriptor) {
  LPWSTR text = nullptr;
  if (!ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION,
                                                            &text, nullptr)) {
    ADD_FAILURE() << GetLastError();
    return {};
  }
  WideString result(text);
  LocalFree(text);
  return result;
}

struct OwnedSid {
  explicit OwnedSid(const WideString& text) { EXPECT_TRUE(ConvertStringSidToSidW(text.c_str(), &sid)); }
  ~OwnedSid() { LocalFree(sid); }
  OwnedSid(const OwnedSid&) = delete;
  OwnedSid& operator=(const OwnedSid&) = delete;
  PSID sid = nullptr;
};

EXPLICIT_ACCESS_W Entry(PSID sid, DWORD access, ACCESS_MODE mode) {
  EXPLICIT_ACCESS_W entry{};
  entry.grfAccessPermissions = access;
  entry.grfAccessMode = mode;
  entry.grfInheritance = NO_INHERITANCE;
  entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
  entry.Trustee.ptstrName = static_cast<LPWSTR>(sid);
  return entry;
}

// What SetEntriesInAclW makes of the entries, as the DACL of an absolute descriptor.
WideString Compose(std::vector<EXPLICIT_ACCESS_W> entries) {
  PACL acl = nullptr;
  EXPECT_EQ(0u, SetEntriesInAclW(static_cast<ULONG>(entries.size()), entries.data(), nullptr, &acl));
  SECURITY_DESCRIPTOR descriptor;
  EXPECT_TRUE(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
  EXPECT_TRUE(SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE));
  EXPECT_TRUE(IsValidSecurityDescriptor(&descriptor));
  const WideString text = Text(&descriptor);
  LocalFree(acl);
  return text;
}

PSID NewEveryone() {
  SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
  PSID everyone = nullptr;
  EXPECT_TRUE(AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everyone));
  return everyone;
}

TEST(Sids, KeepTheirTextAndRefuseWhatIsNone) {
  const WCHAR* const kTexts[] = {W("S-1-1-0"), W("S-1-5-18"), W("S-1-5-21-4294967295-0-1-1001"), kCapability.c_str()};
  for (const WCHAR* expected : kTexts) {
    const OwnedSid owned(expected);
    LPWSTR text = nullptr;
    ASSERT_TRUE(ConvertSidToStringSidW(owned.sid, &text));
    EXPECT_EQ(WideString(expected), WideString(text));
    LocalFree(text);

    std::vector<BYTE> copy(GetLengthSid(owned.sid));
    ASSERT_TRUE(CopySid(static_cast<DWORD>(copy.size()), copy.data(), owned.sid));
    EXPECT_TRUE(EqualSid(copy.data(), owned.sid));
    copy.back() ^= 1;
    EXPECT_FALSE(EqualSid(copy.data(), owned.sid));
    EXPECT_FALSE(CopySid(static_cast<DWORD>(copy.size() - 1), copy.data(), owned.sid));
  }
  const WCHAR* const kBad[] = {W(""), W("S-1"), W("S-1-5-"), W("S-1-5-x"), W("T-1-5-18")};
  for (const WCHAR* bad : kBad) {
    PSID sid = nullptr;
    EXPECT_FALSE(ConvertStringSidToSidW(bad, &sid));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_SID), GetLastError());
  }
}

TEST(ExplicitEntries, BecomeOneEntryForEachTrustee) {
  PSID everyone = NewEveryone();
  const OwnedSid capability(kCapability);
  EXPECT_EQ(W("D:(A;;GA;;;WD)"), Compose({Entry(everyone, GENERIC_ALL, SET_ACCESS)}));
  EXPECT_EQ(WideString(W("D:(A;;GA;;;WD)(A;;GA;;;")) + kCapability + W(")"),
            Compose({Entry(everyone, GENERIC_ALL, SET_ACCESS), Entry(capability.sid, GENERIC_ALL, SET_ACCESS)}));
  EXPECT_EQ(W("D:"), Compose({}));
  EXPECT_EQ(nullptr, FreeSid(everyone));
}

// The way of the named event: a list of one entry, put together by hand, in a self-relative descriptor.
TEST(Descriptors, SelfRelativeFormIsMadeInTwoCallsAndReadsBack) {
  PSID everyone = NewEveryone();
  alignas(4) BYTE aclBytes[64];
  auto* acl = reinterpret_cast<PACL>(aclBytes);
  ASSERT_TRUE(InitializeAcl(acl, sizeof aclBytes, ACL_REVISION));
  alignas(4) BYTE aceBytes[20] = {};
  auto* ace = reinterpret_cast<ACCESS_ALLOWED_ACE*>(aceBytes);
  ace->Header = {ACCESS_ALLOWED_ACE_TYPE, 0, sizeof aceBytes};
  ace->Mask = SYNCHRONIZE;
  ASSERT_TRUE(CopySid(GetLengthSid(everyone), &ace->SidStart, everyone));
  ASSERT_TRUE(AddAce(acl, ACL_REVISION, MAXDWORD, ace, sizeof aceBytes));
  FreeSid(everyone);

  SECURITY_DESCRIPTOR absolute;
  ASSERT_TRUE(InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION));
  ASSERT_TRUE(SetSecurityDescriptorDacl(&absolute, TRUE, acl, FALSE));
  DWORD size = 0;
  EXPECT_FALSE(MakeSelfRelativeSD(&absolute, nullptr, &size));
  EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
  std::vector<BYTE> relative(size);
  ASSERT_TRUE(MakeSelfRelativeSD(&absolute, relative.data(), &size));
  EXPECT_EQ(W("D:(A;;0x100000;;;WD)"), Text(relative.data()));

  DWORD sizes[5] = {};
  EXPECT_FALSE(MakeAbsoluteSD(relative.data(), nullptr, &sizes[0], nullptr, &sizes[1], nullptr, &sizes[2], nullptr,
                              &sizes[3], nullptr, &sizes[4]));
  EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
  SECURITY_DESCRIPTOR back;
  std::vector<BYTE> dacl(sizes[1]);
  ASSERT_TRUE(MakeAbsoluteSD(relative.data(), &back, &sizes[0], reinterpret_cast<PACL>(dacl.data()), &sizes[1], nullptr,
                             &sizes[2], nullptr, &sizes[3], nullptr, &sizes[4]));
  EXPECT_EQ(W("D:(A;;0x100000;;;WD)"), Text(&back));
}

TEST(AccessLists, HoldWhatFitsAndCountIt) {
  PSID everyone = NewEveryone();
  alignas(4) BYTE bytes[sizeof(ACL) + 20];
  auto* acl = reinterpret_cast<PACL>(bytes);
  ASSERT_TRUE(InitializeAcl(acl, sizeof bytes, ACL_REVISION));
  EXPECT_TRUE(AddAccessAllowedAce(acl, ACL_REVISION, SYNCHRONIZE, everyone));
  EXPECT_FALSE(AddAccessAllowedAce(acl, ACL_REVISION, SYNCHRONIZE, everyone));
  EXPECT_EQ(static_cast<DWORD>(ERROR_ALLOTTED_SPACE_EXCEEDED), GetLastError());
  ACL_SIZE_INFORMATION sizes{};
  ASSERT_TRUE(GetAclInformation(acl, &sizes, sizeof sizes, AclSizeInformation));
  EXPECT_EQ(1u, sizes.AceCount);
  EXPECT_EQ(0u, sizes.AclBytesFree);
  LPVOID found = nullptr;
  ASSERT_TRUE(GetAce(acl, 0, &found));
  EXPECT_TRUE(EqualSid(everyone, &static_cast<ACCESS_ALLOWED_ACE*>(found)->SidStart));
  EXPECT_FALSE(GetAce(acl, 1, &found));
  FreeSid(everyone);
}

TEST(DescriptorTexts, KeepTheirFormAndRefuseWhatIsNone) {
  const WCHAR* const kTexts[] = {W("D:(A;;GA;;;WD)(A;;GA;;;AC)"), W("D:P(D;;GW;;;WD)(A;OICI;FA;;;SY)"),
                                 W("D:(A;;CCLCSWRPRC;;;BA)"),     W("D:(A;;KR;;;BU)"),
                                 W("D:(A;;0x1f0003;;;SY)"),       W("D:")};
  for (const WCHAR* expected : kTexts) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(expected, SDDL_REVISION_1, &descriptor, nullptr));
    EXPECT_EQ(WideString(expected), Text(descriptor));
    LocalFree(descriptor);
  }
  const WCHAR* const kBad[] = {W("D:(A;;GA;;;WD"), W("D:(Q;;GA;;;WD)"), W("D:(A;;ZZ;;;WD)"), W("D:(A;;GA;;;nobody)")};
  for (const WCHAR* bad : kBad) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    EXPECT_FALSE(ConvertStringSecurityDescriptorToSecurityDescriptorW(bad, SDDL_REVISION_1, &descriptor, nullptr));
    EXPECT_NE(0u, GetLastError());
  }
}

}  // namespace
