// The platform's basic types on the host: the same names, widths and calling forms as in the SDK.
// DWORD, LONG, HRESULT and BOOL are 32 bits wide, as there (LLP64), although `long` is 64 bits here.
#pragma once

#include <cstddef>
#include <cstdint>

using BOOL = std::int32_t;
using BOOLEAN = std::uint8_t;
using BYTE = std::uint8_t;
using UCHAR = std::uint8_t;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using ULONG64 = std::uint64_t;
using DWORD64 = std::uint64_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using ULONG_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using DWORD_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using HRESULT = std::int32_t;
using LSTATUS = std::int32_t;
using CHAR = char;
using WCHAR = char16_t;
using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using PBYTE = BYTE*;
using LPBYTE = BYTE*;
using PDWORD = DWORD*;
using LPDWORD = DWORD*;
using PULONG = ULONG*;
using PULONG_PTR = ULONG_PTR*;
using PBOOL = BOOL*;
using LPBOOL = BOOL*;
using PWSTR = WCHAR*;
using LPWSTR = WCHAR*;
using PCWSTR = const WCHAR*;
using LPCWSTR = const WCHAR*;
using LPCSTR = const char*;
using HANDLE = void*;
using PHANDLE = HANDLE*;

struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
using FARPROC = std::intptr_t (*)();

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
using UUID = GUID;
using IID = GUID;
using CLSID = GUID;

// `lpSecurityDescriptor` null: the default descriptor.
struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
};
using PSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

#define TRUE 1
#define FALSE 0

#define WINAPI
#define CALLBACK
#define APIENTRY
#define __stdcall
#define __cdecl
#define __RPC_USER
#define __RPC_STUB

#define MAX_PATH 260
#define INFINITE 0xFFFFFFFFu
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))
#define MAXDWORD 0xFFFFFFFFu
