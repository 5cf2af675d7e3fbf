// The SDK's main header, with the options set for the whole build (cmake/Build.cmake).
#pragma once

#include <windows.h>
