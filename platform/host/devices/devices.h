// The configuration manager's calls on the host. Device nodes live in the registry, as docs/host.md tells.
//
// Every call returns its CR_ code and leaves the thread's last error alone. Any thread may call.
#pragma once

#include "platform/host/registry/registry.h"

using RETURN_TYPE = DWORD;
using CONFIGRET = RETURN_TYPE;
using DEVINST = DWORD;
using PDEVINST = DEVINST*;
using DEVINSTID_W = WCHAR*;
using REGDISPOSITION = ULONG;

#define CR_SUCCESS 0x00000000u
#define CR_OUT_OF_MEMORY 0x00000002u
#define CR_INVALID_POINTER 0x00000003u
#define CR_INVALID_FLAG 0x00000004u
#define CR_INVALID_DEVNODE 0x00000005u
#define CR_NO_SUCH_DEVNODE 0x0000000Du
#define CR_FAILURE 0x00000013u
#define CR_BUFFER_SMALL 0x0000001Au
#define CR_REGISTRY_ERROR 0x0000001Du
#define CR_INVALID_DEVICE_ID 0x0000001Eu
#define CR_NO_SUCH_VALUE 0x00000025u
#define CR_NO_SUCH_REGISTRY_KEY 0x0000002Eu
#define CR_ACCESS_DENIED 0x00000033u

#define CM_GETIDLIST_FILTER_SERVICE 0x00000002u
#define CM_GETIDLIST_DONOTGENERATE 0x10000040u
#define CM_GETIDLIST_FILTER_PRESENT 0x00000100u
#define CM_LOCATE_DEVNODE_NORMAL 0x00000000u
#define CM_REGISTRY_SOFTWARE 0x00000001u
#define RegDisposition_OpenExisting 0x00000001u

// The length, in characters with every terminator, of the list that CM_Get_Device_ID_ListW gives: 1 for an empty one.
// `flags` are CM_GETIDLIST_FILTER_SERVICE and CM_GETIDLIST_DONOTGENERATE, with CM_GETIDLIST_FILTER_PRESENT or without;
// `filter` is a service's name.
CONFIGRET CM_Get_Device_ID_List_SizeW(PULONG length, PCWSTR filter, ULONG flags);

// The instance identifiers of the device nodes of the service, present ones only with CM_GETIDLIST_FILTER_PRESENT, as a
// multi-string. CR_BUFFER_SMALL when `length` characters are too few; the buffer is left alone then.
CONFIGRET CM_Get_Device_ID_ListW(PCWSTR filter, WCHAR* buffer, ULONG length, ULONG flags);

// The device node of a present device; the root of the tree for a null or empty identifier. CR_INVALID_DEVICE_ID for a
// text that is no instance identifier, CR_NO_SUCH_DEVNODE when there is no such device or it is not present.
// The node need not be closed, and stays what it is as long as the process lives.
CONFIGRET CM_Locate_DevNodeW(PDEVINST node, DEVINSTID_W deviceId, ULONG flags);

// Opens the software key of a device node, which the caller closes with RegCloseKey: CR_NO_SUCH_VALUE when the device
// has no driver, CR_NO_SUCH_REGISTRY_KEY when the key is missing. Supported: `hardwareProfile` 0,
// RegDisposition_OpenExisting, CM_REGISTRY_SOFTWARE.
CONFIGRET CM_Open_DevNode_Key(DEVINST node, REGSAM access, ULONG hardwareProfile, REGDISPOSITION disposition, PHKEY key,
                              ULONG flags);
