// The registry calls on the host.
//
// Every call returns its Win32 code and leaves the thread's last error alone; every call may be made from any thread.
// Each is one transaction: it sees, or leaves, one state of the registry, whatever other processes do meanwhile.
//
// Names are compared without regard to case and keep the case they were created with. Paths are separated by
// backslashes; a leading one is refused with ERROR_BAD_PATHNAME. A key name has at most 255 characters, a value name
// 16,383.
//
// Views: only "Software" of HKEY_LOCAL_MACHINE has a 32-bit side. It lies in its subkey "WOW6432Node", to which
// KEY_WOW64_32KEY redirects a path that starts at HKEY_LOCAL_MACHINE or at its "Software" key; a key handle below stays
// in the view it was opened in. Without a view flag the 64-bit view is meant.
//
// Access: a handle carries the rights it was opened with, and a call that its rights do not cover answers
// ERROR_ACCESS_DENIED. Opening, creating and deleting subkeys are not limited by the rights of the handle they start
// from. A handle to a key that has been deleted answers ERROR_KEY_DELETED, one that is not open ERROR_INVALID_HANDLE.
#pragma once

#include "platform/host/base/access_rights.h"
#include "platform/host/base/types.h"
#include "platform/host/registry/registry_constants.h"

struct HKEY__;
using HKEY = HKEY__*;
using PHKEY = HKEY*;
using REGSAM = ACCESS_MASK;

struct FILETIME;

#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0xFFFFFFFF80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0xFFFFFFFF80000002u)))
#define HKEY_USERS (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0xFFFFFFFF80000003u)))

// Opens an existing key into `result`, which the caller closes with RegCloseKey. A null or empty `subKey` opens the key
// itself once more; for a predefined key `result` is then that same handle. `options` must be 0.
// ERROR_FILE_NOT_FOUND when any step of the path is missing, or the user hive it leads through is not loaded.
LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);

// Opens a key, or creates it with every missing key before it, all of them volatile with REG_OPTION_VOLATILE. An
// existing key keeps what it is. `disposition` may be null. `keyClass` must be null or empty, `attributes` null or
// without a descriptor. ERROR_CHILD_MUST_BE_VOLATILE for a lasting key under a volatile one: nothing is created then.
LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM access,
                        const SECURITY_ATTRIBUTES* attributes, PHKEY result, LPDWORD disposition);

// Closes a handle. Closing a predefined key succeeds and does nothing.
LSTATUS RegCloseKey(HKEY key);

// Reads a value as it is stored (no terminator is added). `dataSize` in bytes, in and out. Without `data` only type and
// size are told; with a buffer that is too small ERROR_MORE_DATA, and the size that is needed. Needs KEY_QUERY_VALUE.
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD dataSize);

// Reads a value of the key or of its subkey, of the types that `flags` allow (RRF_RT_*): ERROR_UNSUPPORTED_TYPE for
// others. Strings come terminated, and the size counts the terminators, also those that the stored data lacks.
// REG_EXPAND_SZ is expanded and told as REG_SZ unless RRF_NOEXPAND is given. Otherwise as RegQueryValueExW, with
// RRF_ZEROONFAILURE the whole buffer is zero after a failure.
LSTATUS RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR name, DWORD flags, LPDWORD type, PVOID data, LPDWORD dataSize);

// Writes a value, a string with the terminator counted in `dataSize` (bytes). Needs KEY_SET_VALUE.
LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD dataSize);

// Writes a value of the key or of its subkey, which is created, as RegCreateKeyExW does, when it is missing. A handle
// without subkey needs KEY_SET_VALUE.
LSTATUS RegSetKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR name, DWORD type, LPCVOID data, DWORD dataSize);

// The value at `index`, in the order the values were first written. `nameLength` in characters: in with the terminator,
// out without it. ERROR_MORE_DATA when the name or the data does not fit (the name's length is then left as it was, the
// next index works); ERROR_NO_MORE_ITEMS past the last. `type`, `data`, `dataSize` may be null. Needs KEY_QUERY_VALUE.
LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved, LPDWORD type,
                      LPBYTE data, LPDWORD dataSize);

// The subkey at `index`, in the order of the upper-cased names. Lengths and codes as RegEnumValueW. `keyClass` and
// `lastWriteTime` must be null. Needs KEY_ENUMERATE_SUB_KEYS.
LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved, LPWSTR keyClass,
                      LPDWORD classLength, FILETIME* lastWriteTime);

// Counts and longest lengths: names in characters without terminator, data in bytes. Any output may be null; class,
// descriptor and time outputs must be. Needs KEY_QUERY_VALUE.
LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, LPDWORD classLength, LPDWORD reserved, LPDWORD subKeys,
                         LPDWORD longestSubKey, LPDWORD longestClass, LPDWORD values, LPDWORD longestValueName,
                         LPDWORD longestData, LPDWORD descriptorSize, FILETIME* lastWriteTime);

// Deletes a value: ERROR_FILE_NOT_FOUND when there is none. Needs KEY_SET_VALUE.
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name);

// Deletes a key with its values. `view` is 0 or one of the KEY_WOW64_ flags. ERROR_ACCESS_DENIED when it has subkeys or
// is the root of a hive.
LSTATUS RegDeleteKeyExW(HKEY key, LPCWSTR subKey, REGSAM view, DWORD reserved);

// RegDeleteKeyExW in the view of `key`.
LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey);

// Deletes the subkey and everything below it, all or nothing; with a null or empty `subKey` the values and subkeys of
// `key`, which stays. Needs DELETE, KEY_ENUMERATE_SUB_KEYS and KEY_QUERY_VALUE, and KEY_SET_VALUE for the latter.
LSTATUS RegDeleteTreeW(HKEY key, LPCWSTR subKey);
