// Package identity, which the tool chain's headers and import libraries lack: bound at run time.
#pragma once

#include "platform/windows/sdk.h"

#ifndef APPMODEL_ERROR_NO_PACKAGE
#define APPMODEL_ERROR_NO_PACKAGE 15700L
#endif

// The package family name behind a token opened for TOKEN_QUERY; `length` counts characters with the terminator, both
// ways. Returns 0 or an error code, and leaves that code as the thread's last error too: ERROR_INSUFFICIENT_BUFFER
// (122), APPMODEL_ERROR_NO_PACKAGE (15700), ERROR_NOT_SUPPORTED (50) on a system without the function.
extern "C" LONG WINAPI GetPackageFamilyNameFromToken(HANDLE token, UINT32* length, PWSTR packageFamilyName);
