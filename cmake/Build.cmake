# Settings every target shares: language level, warnings, sanitizers, ccache, output folder.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Programs and libraries that look for each other lie in one folder, as on an installed machine.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

option(HKD_WERROR "Treat warnings as errors" ON)
set(HKD_SANITIZE "" CACHE STRING "Sanitizers, as the argument of -fsanitize=")
option(HKD_THREAD_SAFETY "Run clang's thread-safety analysis" OFF)
option(HKD_FUZZ "Build the fuzz targets, and everything instrumented for them (clang)" OFF)

if(NOT MSVC)
  add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wno-missing-field-initializers)
endif()
if(NOT WIN32)
  # Interfaces of the platform's own headers have public destructors, about which whatever derives from them is warned.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "Release")
  # g++ 12 sees overlapping copies in optimised concatenations of strings where there are none.
  add_compile_options(-Wno-restrict)
endif()
if(HKD_WERROR AND NOT MSVC)
  add_compile_options(-Werror)
endif()
if(HKD_THREAD_SAFETY)
  add_compile_options(-Wthread-safety)
endif()
if(HKD_SANITIZE)
  add_compile_options(-fsanitize=${HKD_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${HKD_SANITIZE})
endif()
if(HKD_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

find_program(HKD_CCACHE ccache)
if(HKD_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER "${HKD_CCACHE}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${HKD_CCACHE}")
endif()

if(WIN32)
  include(WindowsBuild)
else()
  find_package(Threads REQUIRED)
endif()
include(WindowsProgram)

# All targets see the tree from its root: #include "platform/registry.h".
include_directories("${PROJECT_SOURCE_DIR}")

include(FastBuild)
