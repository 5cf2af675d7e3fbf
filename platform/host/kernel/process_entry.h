// The program's entry point. Linking `platform_entry` adds a `main` that fills these and calls wWinMain.
#pragma once

#include "platform/host/base/types.h"

// The number of arguments, the program's name included, and the arguments, ended by null. Live as long as the process.
extern int __argc;
extern WCHAR** __wargv;

// Defined by the program. Its result is the exit code; of it the host keeps the low 8 bits. `commandLine` is the
// arguments without the program's name, joined by blanks.
int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR commandLine, int show);
