// The service calls on the host, over the control manager of the simulated machine.
//
// Every call fails where the platform's documentation says so, with its last error; when the machine is not up the
// dispatcher answers 1063 (ERROR_FAILED_SERVICE_CONTROLLER_CONNECT) and the others 1722 (RPC_S_SERVER_UNAVAILABLE).
#pragma once

#include "platform/host/base/access_rights.h"
#include "platform/host/base/types.h"

struct SC_HANDLE__;
using SC_HANDLE = SC_HANDLE__*;
struct SERVICE_STATUS_HANDLE__;
using SERVICE_STATUS_HANDLE = SERVICE_STATUS_HANDLE__*;
using SC_LOCK = LPVOID;

struct SERVICE_STATUS {
  DWORD dwServiceType;
  DWORD dwCurrentState;
  DWORD dwControlsAccepted;
  DWORD dwWin32ExitCode;
  DWORD dwServiceSpecificExitCode;
  DWORD dwCheckPoint;
  DWORD dwWaitHint;  // milliseconds
};
using LPSERVICE_STATUS = SERVICE_STATUS*;

using LPSERVICE_MAIN_FUNCTIONW = void(WINAPI*)(DWORD argumentCount, LPWSTR* arguments);
using LPHANDLER_FUNCTION_EX = DWORD(WINAPI*)(DWORD control, DWORD eventType, LPVOID eventData, LPVOID context);

struct SERVICE_TABLE_ENTRYW {
  LPWSTR lpServiceName;
  LPSERVICE_MAIN_FUNCTIONW lpServiceProc;
};

struct WTSSESSION_NOTIFICATION {
  DWORD cbSize;
  DWORD dwSessionId;
};
using PWTSSESSION_NOTIFICATION = WTSSESSION_NOTIFICATION*;

#define SERVICES_ACTIVE_DATABASEW u"ServicesActive"
#define SERVICE_NO_CHANGE 0xFFFFFFFFu

#define SERVICE_WIN32_OWN_PROCESS 0x00000010u
#define SERVICE_BOOT_START 0u
#define SERVICE_SYSTEM_START 1u
#define SERVICE_AUTO_START 2u
#define SERVICE_DEMAND_START 3u
#define SERVICE_DISABLED 4u

#define SERVICE_STOPPED 1u
#define SERVICE_START_PENDING 2u
#define SERVICE_STOP_PENDING 3u
#define SERVICE_RUNNING 4u
#define SERVICE_CONTINUE_PENDING 5u
#define SERVICE_PAUSE_PENDING 6u
#define SERVICE_PAUSED 7u

#define SERVICE_ACCEPT_STOP 0x00000001u
#define SERVICE_ACCEPT_PAUSE_CONTINUE 0x00000002u
#define SERVICE_ACCEPT_SHUTDOWN 0x00000004u
#define SERVICE_ACCEPT_POWEREVENT 0x00000040u
#define SERVICE_ACCEPT_SESSIONCHANGE 0x00000080u

#define SERVICE_CONTROL_STOP 1u
#define SERVICE_CONTROL_PAUSE 2u
#define SERVICE_CONTROL_CONTINUE 3u
#define SERVICE_CONTROL_INTERROGATE 4u
#define SERVICE_CONTROL_SHUTDOWN 5u
#define SERVICE_CONTROL_POWEREVENT 13u
#define SERVICE_CONTROL_SESSIONCHANGE 14u

#define PBT_APMSUSPEND 4u
#define PBT_APMRESUMECRITICAL 6u
#define PBT_APMRESUMESUSPEND 7u
#define PBT_APMRESUMEAUTOMATIC 18u

#define WTS_CONSOLE_CONNECT 1u
#define WTS_CONSOLE_DISCONNECT 2u
#define WTS_REMOTE_CONNECT 3u
#define WTS_REMOTE_DISCONNECT 4u
#define WTS_SESSION_LOGON 5u
#define WTS_SESSION_LOGOFF 6u
#define WTS_SESSION_LOCK 7u
#define WTS_SESSION_UNLOCK 8u

#define SC_MANAGER_CONNECT 0x0001u
#define SC_MANAGER_ALL_ACCESS 0xF003Fu
#define SERVICE_QUERY_CONFIG 0x0001u
#define SERVICE_CHANGE_CONFIG 0x0002u
#define SERVICE_QUERY_STATUS 0x0004u
#define SERVICE_ALL_ACCESS 0xF01FFu

// Connects the calling thread to the control manager and serves its requests; returns TRUE once the service has
// stopped, FALSE with 1063 in a process that the manager did not start, with 87 for a table that is not one service of
// an own process (its name may be empty). The service routine runs on a thread of its own; the control handler runs on
// the calling thread, one control at a time.
BOOL WINAPI StartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW* table);

// The handle lives as long as the process and needs no closing. Null with 1083 when no service of that name runs here
// (an own process's service answers to every name), with 87 for a missing name or handler.
SERVICE_STATUS_HANDLE WINAPI RegisterServiceCtrlHandlerExW(LPCWSTR name, LPHANDLER_FUNCTION_EX handler, LPVOID context);

// FALSE with 6 for an unknown handle and for a service that has reported SERVICE_STOPPED already.
BOOL WINAPI SetServiceStatus(SERVICE_STATUS_HANDLE service, SERVICE_STATUS* status);

// The local machine's manager (a machine name is not supported); `database` null or "ServicesActive", else 1065.
SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machine, LPCWSTR database, DWORD access);
// Null with 1060 when no such service is configured.
SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR name, DWORD access);
BOOL WINAPI CloseServiceHandle(SC_HANDLE handle);

// Changes the start type, the program path and the display name; what is SERVICE_NO_CHANGE or null stays. The other
// settings are not supported. Needs SERVICE_CHANGE_CONFIG (else 5).
BOOL WINAPI ChangeServiceConfigW(SC_HANDLE service, DWORD serviceType, DWORD startType, DWORD errorControl,
                                 LPCWSTR program, LPCWSTR loadOrderGroup, LPDWORD tag, LPCWSTR dependencies,
                                 LPCWSTR account, LPCWSTR password, LPCWSTR displayName);

// Needs SERVICE_QUERY_STATUS (else 5).
BOOL WINAPI QueryServiceStatus(SC_HANDLE service, SERVICE_STATUS* status);

namespace host {

// Handles of OpenSCManagerW and OpenServiceW that are not closed yet, for leak checks.
unsigned OpenServiceHandleCount();

}  // namespace host
