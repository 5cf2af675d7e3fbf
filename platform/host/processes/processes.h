// The process calls on the host.
//
// Calls that return BOOL set the thread's last error when they answer FALSE and leave it alone when they succeed. Any
// thread may call. A process is a program of the machine or any other process of this user; the processes of the
// machine that are rows of its table only (docs/host.md) can be opened, and never end.
#pragma once

#include "platform/host/base/access_rights.h"
#include "platform/host/base/types.h"

#define PROCESS_TERMINATE 0x0001u
#define PROCESS_QUERY_INFORMATION 0x0400u
#define PROCESS_QUERY_LIMITED_INFORMATION 0x1000u
#define PROCESS_ALL_ACCESS 0x001FFFFFu

#define CREATE_NEW_CONSOLE 0x00000010u
#define NORMAL_PRIORITY_CLASS 0x00000020u
#define CREATE_UNICODE_ENVIRONMENT 0x00000400u
#define BELOW_NORMAL_PRIORITY_CLASS 0x00004000u

// What GetExitCodeProcess tells of a process that runs.
#define STILL_ACTIVE 259u

struct STARTUPINFOW {
  DWORD cb;  // the size of this structure
  LPWSTR lpReserved;
  LPWSTR lpDesktop;
  LPWSTR lpTitle;
  DWORD dwX;
  DWORD dwY;
  DWORD dwXSize;
  DWORD dwYSize;
  DWORD dwXCountChars;
  DWORD dwYCountChars;
  DWORD dwFillAttribute;
  DWORD dwFlags;
  WORD wShowWindow;
  WORD cbReserved2;
  LPBYTE lpReserved2;
  HANDLE hStdInput;
  HANDLE hStdOutput;
  HANDLE hStdError;
};
using LPSTARTUPINFOW = STARTUPINFOW*;
static_assert(sizeof(STARTUPINFOW) == 104);

struct PROCESS_INFORMATION {
  HANDLE hProcess;
  HANDLE hThread;
  DWORD dwProcessId;
  DWORD dwThreadId;
};
using LPPROCESS_INFORMATION = PROCESS_INFORMATION*;

// A pseudo handle of this process with every right; it need not be closed.
HANDLE GetCurrentProcess();

DWORD GetCurrentProcessId();

// Opens a process. Null with ERROR_INVALID_PARAMETER (87) when there is none of that identifier, ERROR_ACCESS_DENIED
// (5) when it is another user's and this process is not LocalSystem. Inheritable handles are not supported.
HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD processId);

// Ends this process (GetCurrentProcess(), the only one supported) at once; of `exitCode` the low 8 bits are kept.
BOOL TerminateProcess(HANDLE process, UINT exitCode);

// The exit code of a process (PROCESS_QUERY_INFORMATION): STILL_ACTIVE while it runs, 0 to 255, or 128 and the number
// of the signal that ended it. ERROR_NOT_SUPPORTED (50) for a process that ended and that the machine did not start. A
// process handle with SYNCHRONIZE can be waited for: it is signalled from the end of the process on.
BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode);

// Starts a program with the identity of `token`: a primary token with TOKEN_QUERY, TOKEN_DUPLICATE and
// TOKEN_ASSIGN_PRIMARY, else ERROR_ACCESS_DENIED (5) or ERROR_BAD_TOKEN_TYPE (1349). Only a LocalSystem process may:
// ERROR_PRIVILEGE_NOT_HELD (1314). The machine's daemon starts it (1062 when that is not up), so it is entered in the
// process table before it runs and ends with the machine.
//
// `application` is the program, taken as it stands, a relative one from the current directory: 2 when there is none, 5
// for a directory and for a file that may not be executed, 193 for one that is no program. `commandLine` (null: the
// program in double quotes) is kept and is split into arguments as CommandLineToArgvW does. `environment` is the whole
// environment of the program, as CreateEnvironmentBlock makes it; null: this process's own. `directory` null: this
// process's own; 267 for one that is none. `flags` are CREATE_NEW_CONSOLE, CREATE_UNICODE_ENVIRONMENT and one priority
// class, below normal or normal; attributes, inherited handles, desktops and the other members of `startup` must be
// unset.
//
// The caller closes both handles of `information`; closing them does not end the program.
BOOL CreateProcessAsUserW(HANDLE token, LPCWSTR application, LPWSTR commandLine,
                          LPSECURITY_ATTRIBUTES processAttributes, LPSECURITY_ATTRIBUTES threadAttributes,
                          BOOL inheritHandles, DWORD flags, LPVOID environment, LPCWSTR directory,
                          LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information);

// The environment of the user behind `token` (TOKEN_QUERY and TOKEN_DUPLICATE): the machine's variables, the user's
// over them, and USERNAME; nothing of this process. "NAME=value" texts in the order of their names, each ended by a
// null, and one more null. The caller gives it to DestroyEnvironmentBlock. `inherit` must be FALSE.
BOOL CreateEnvironmentBlock(LPVOID* environment, HANDLE token, BOOL inherit);

// FALSE with ERROR_INVALID_PARAMETER (87) for null.
BOOL DestroyEnvironmentBlock(LPVOID environment);
