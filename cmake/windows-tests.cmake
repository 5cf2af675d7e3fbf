# GoogleTest programs for Windows, cross-built and run by scripts/test-windows.sh; GoogleTest is built from its sources as
# Debian ships them. Sources called *_host_test.cpp look into the host layer and are left out.
set(HKD_GOOGLETEST_SOURCE "/usr/src/googletest" CACHE PATH "GoogleTest's sources")
set(HKD_WINDOWS_TEST_LIST "${PROJECT_BINARY_DIR}/windows-tests.txt")
file(WRITE "${HKD_WINDOWS_TEST_LIST}" "")

set(INSTALL_GTEST OFF CACHE BOOL "Not part of the package" FORCE)
add_subdirectory("${HKD_GOOGLETEST_SOURCE}" "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
foreach(library gtest gtest_main gmock gmock_main)
  target_compile_options(${library} PRIVATE -w $<$<BOOL:${MINGW}>:-O0>)
endforeach()

# As on the host. Libraries of the host layer mean the platform itself here.
function(hkd_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  list(FILTER arg_SOURCES EXCLUDE REGEX "_host_test\\.cpp$")
  list(FILTER arg_SOURCES INCLUDE REGEX "\\.cpp$")
  if(NOT arg_SOURCES)
    return()
  endif()
  list(TRANSFORM arg_LIBS REPLACE "^platform_.*" platform)
  list(REMOVE_DUPLICATES arg_LIBS)
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  hkd_compile_quickly(${name})
  file(APPEND "${HKD_WINDOWS_TEST_LIST}" "${name}\n")
endfunction()
