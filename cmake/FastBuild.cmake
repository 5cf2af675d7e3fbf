# What keeps a full build short. -DHKD_FAST_BUILD=OFF suits whoever changes one file often.

# Several sources compiled as one, where each would otherwise parse and instantiate GoogleTest, CLI11 and nlohmann-json for
# itself: most of the time of a full build. Names in anonymous namespaces are therefore unique within a target. Left out by
# clang, and for product and platform by a release, where every source has to stand by itself.
option(HKD_FAST_BUILD "Compile sources in batches, and the tests with precompiled headers" ON)
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(HKD_FAST_BUILD OFF)
endif()
set(CMAKE_UNITY_BUILD_BATCH_SIZE 32)
if(HKD_FAST_BUILD AND CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(CMAKE_UNITY_BUILD ON)
endif()

# What tests the product does not have to be fast: a debug build leaves its optimisation out too, a fifth of its time and,
# under the address sanitizer, more than half.
function(hkd_compile_quickly target)
  if(NOT MSVC)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Debug>:-O0>)
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${HKD_FAST_BUILD})
endfunction()

# What ccache may overlook where headers are precompiled: macros they do not ask for, and __TIME__, which nothing here uses.
if(HKD_FAST_BUILD AND HKD_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_SLOPPINESS=pch_defines,time_macros "${HKD_CCACHE}")
endif()

# Some eighty programs are linked, each from most of the libraries: in a quarter of the time that ld takes.
find_program(HKD_LLD ld.lld)
if(HKD_FAST_BUILD AND HKD_LLD AND CMAKE_BUILD_TYPE STREQUAL "Debug")
  add_link_options(-fuse-ld=lld)
endif()

# hkd_precompile(<name> HEADERS <header>... LIBS <targets...>): precompiled headers of those libraries, for programs compiled
# quickly. It is compiled as their sources are.
function(hkd_precompile name)
  cmake_parse_arguments(arg "" "" "HEADERS;LIBS" ${ARGN})
  if(HKD_FAST_BUILD AND NOT WIN32)
    set(source "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "// Nothing but the precompiled headers.\n")
    add_library(${name} OBJECT "${source}")
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_compile_options(${name} PRIVATE -fPIE)
    hkd_compile_quickly(${name})
    target_link_libraries(${name} PRIVATE ${arg_LIBS})
    target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
  endif()
endfunction()
# hkd_use_precompiled(<target> <name>)
function(hkd_use_precompiled target name)
  if(HKD_FAST_BUILD)
    target_precompile_headers(${target} REUSE_FROM ${name})
    # So that ccache knows the objects again.
    target_compile_options(${target} PRIVATE -fpch-preprocess)
  endif()
endfunction()
