// Structures, access rights and classes of access tokens, with the platform's names and values.
#pragma once

#include "platform/host/base/access_rights.h"
#include "platform/host/security/security_types.h"

#define TOKEN_ASSIGN_PRIMARY 0x0001u
#define TOKEN_DUPLICATE 0x0002u
#define TOKEN_IMPERSONATE 0x0004u
#define TOKEN_QUERY 0x0008u
#define TOKEN_ADJUST_PRIVILEGES 0x0020u
#define TOKEN_ALL_ACCESS (STANDARD_RIGHTS_REQUIRED | 0x01FFu)

struct SID_AND_ATTRIBUTES {
  PSID Sid;
  DWORD Attributes;
};

struct TOKEN_USER {
  SID_AND_ATTRIBUTES User;
};
using PTOKEN_USER = TOKEN_USER*;

enum TOKEN_INFORMATION_CLASS { TokenUser = 1, TokenSessionId = 12 };
enum SECURITY_IMPERSONATION_LEVEL {
  SecurityAnonymous,
  SecurityIdentification,
  SecurityImpersonation,
  SecurityDelegation
};
enum TOKEN_TYPE { TokenPrimary = 1, TokenImpersonation };

struct LUID {
  DWORD LowPart;
  LONG HighPart;
};
using PLUID = LUID*;

struct LUID_AND_ATTRIBUTES {
  LUID Luid;
  DWORD Attributes;
};

#define ANYSIZE_ARRAY 1
#define SE_PRIVILEGE_ENABLED 0x00000002u
#define SE_TCB_NAME u"SeTcbPrivilege"

struct TOKEN_PRIVILEGES {
  DWORD PrivilegeCount;
  LUID_AND_ATTRIBUTES Privileges[ANYSIZE_ARRAY];
};
using PTOKEN_PRIVILEGES = TOKEN_PRIVILEGES*;
