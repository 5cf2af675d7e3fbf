// Loading libraries, and the running program's path.
#pragma once

#include "platform/host/base/types.h"

#define LOAD_LIBRARY_SEARCH_SYSTEM32 0x00000800u

// Loads a library, or counts one more reference to a loaded one. A name with a separator is a file; a bare name is
// looked for beside the program, then among the platform's own modules. Null on failure: 126 when there is no such
// library or one that it needs is missing, 193 when the file is no library.
HMODULE LoadLibraryW(LPCWSTR name);

// The same with `flags` 0; with LOAD_LIBRARY_SEARCH_SYSTEM32 a bare name is one of the platform's own modules only.
// `file` must be null; other flags are not supported.
HMODULE LoadLibraryExW(LPCWSTR name, HANDLE file, DWORD flags);

// The address of an export by name; null with 127 when there is none, 126 when `module` is no loaded library.
FARPROC GetProcAddress(HMODULE module, LPCSTR name);

// Gives one reference back; the last one unloads the library. FALSE with 126 when `module` is no loaded library.
BOOL FreeLibrary(HMODULE module);

// The path of the running program (`module` null) or of a loaded library. Returns the length without the terminator. A
// buffer too small gets as much as fits, with terminator, and the result is `size` with the last error 122; 0 on
// failure.
DWORD GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD size);
