// The security calls on the host.
//
// Calls that return BOOL set the thread's last error when they answer FALSE and leave it alone when they succeed.
// Nothing here keeps state; any thread may call. Memory that a call hands out belongs to the caller, who releases it
// with LocalFree, SIDs of AllocateAndInitializeSid with FreeSid.
#pragma once

#include "platform/host/security/security_types.h"

// SIDs. IsValidSid and EqualSid read the SID only. A text that is no SID: ERROR_INVALID_SID.
BOOL AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD sub0, DWORD sub1, DWORD sub2,
                              DWORD sub3, DWORD sub4, DWORD sub5, DWORD sub6, DWORD sub7, PSID* sid);
PVOID FreeSid(PSID sid);  // null
BOOL IsValidSid(PSID sid);
BOOL EqualSid(PSID left, PSID right);
DWORD GetLengthSid(PSID sid);                         // bytes; of a valid SID
BOOL CopySid(DWORD capacity, PSID target, PSID sid);  // ERROR_INSUFFICIENT_BUFFER when `capacity` bytes do not hold it
BOOL ConvertSidToStringSidW(PSID sid, LPWSTR* text);
BOOL ConvertStringSidToSidW(LPCWSTR text, PSID* sid);

// Access-control lists, in memory of the caller. Sizes in bytes, the SIZE of an ACL is fixed when it is initialised:
// ERROR_ALLOTTED_SPACE_EXCEEDED when an entry does not fit, ERROR_INVALID_ACL for a list that is not well formed.
BOOL InitializeAcl(PACL acl, DWORD size, DWORD revision);
BOOL AddAce(PACL acl, DWORD revision, DWORD index, LPVOID aces, DWORD size);  // MAXDWORD as index appends
BOOL AddAccessAllowedAce(PACL acl, DWORD revision, DWORD mask, PSID sid);
BOOL GetAce(PACL acl, DWORD index, LPVOID* ace);  // a pointer into the list
BOOL GetAclInformation(PACL acl, LPVOID information, DWORD size, ACL_INFORMATION_CLASS kind);  // AclSizeInformation

// A new list out of `count` entries and no old list. Entries apply in their order; trustees are SIDs. SET_ACCESS
// replaces what the list holds for the same SID by one allowing entry, GRANT_ACCESS adds its rights to the allowing
// entry of the same SID and inheritance or makes one, DENY_ACCESS puts a denying entry before all allowing ones,
// REVOKE_ACCESS removes the SID's entries. Entries keep the order in which their SIDs first came. Returns a Win32 code.
DWORD SetEntriesInAclW(ULONG count, PEXPLICIT_ACCESS_W entries, PACL oldAcl, PACL* newAcl);

// Descriptors. An absolute one points to its parts, which the caller keeps alive; a self-relative one is one block.
// The conversions tell the sizes they need with ERROR_INSUFFICIENT_BUFFER.
BOOL InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision);
BOOL IsValidSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor);
BOOL SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl, BOOL defaulted);
BOOL GetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL present, PACL* dacl, LPBOOL defaulted);
BOOL MakeSelfRelativeSD(PSECURITY_DESCRIPTOR absolute, PSECURITY_DESCRIPTOR relative, LPDWORD size);
BOOL MakeAbsoluteSD(PSECURITY_DESCRIPTOR relative, PSECURITY_DESCRIPTOR absolute, LPDWORD absoluteSize, PACL dacl,
                    LPDWORD daclSize, PACL sacl, LPDWORD saclSize, PSID owner, LPDWORD ownerSize, PSID group,
                    LPDWORD groupSize);

// Text form of the DACL (`information` must be DACL_SECURITY_INFORMATION) and back; `length` counts the terminator and
// may be null, as `size` (bytes). Read back are "D:" parts with allowing and denying entries; a text with an owner, a
// group or a SACL is not supported. Anything else is ERROR_INVALID_PARAMETER, ERROR_INVALID_ACL or ERROR_INVALID_SID,
// according to where the text goes wrong.
BOOL ConvertSecurityDescriptorToStringSecurityDescriptorW(PSECURITY_DESCRIPTOR descriptor, DWORD revision,
                                                          SECURITY_INFORMATION information, LPWSTR* text,
                                                          PULONG length);
BOOL ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                          PSECURITY_DESCRIPTOR* descriptor, PULONG size);
