# What all Windows targets share, under both tool chains: UNICODE forms only, the API level of the modules used, the
# run-time libraries inside the program, hardened code and links, debug information apart from the programs.
add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00 NTDDI_VERSION=0x0A000000)
set(HKD_SYMBOL_FOLDER "${CMAKE_BINARY_DIR}/symbols")
file(MAKE_DIRECTORY "${HKD_SYMBOL_FOLDER}")

if(MSVC)
  # Not run in this project's own checks, which have no such compiler.
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  set(CMAKE_MSVC_DEBUG_INFORMATION_FORMAT "ProgramDatabase")
  set(CMAKE_PDB_OUTPUT_DIRECTORY "${HKD_SYMBOL_FOLDER}")
  add_compile_options(/W4 /permissive- /utf-8 /Zc:__cplusplus /guard:cf)
  add_link_options(/DEBUG /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /GUARD:CF /CETCOMPAT /MANIFEST:NO)
  return()
endif()

# Programs and symbols name the sources as /hkd04a7/..., wherever they were built.
add_compile_options(-g "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=/hkd04a7"
                    "-ffile-prefix-map=${PROJECT_BINARY_DIR}=/hkd04a7/build")
add_compile_options(-fstack-protector-strong)
add_link_options(-fstack-protector-strong)
add_link_options(-static -static-libgcc -static-libstdc++)
add_link_options("LINKER:--dynamicbase,--high-entropy-va,--nxcompat")

# Control-flow guard, where compiler and linker know it; g++ does not.
include(CheckCXXCompilerFlag)
set(CMAKE_REQUIRED_LINK_OPTIONS -mguard=cf)
check_cxx_compiler_flag(-mguard=cf HKD_HAS_CONTROL_FLOW_GUARD)
unset(CMAKE_REQUIRED_LINK_OPTIONS)
if(HKD_HAS_CONTROL_FLOW_GUARD)
  add_compile_options(-mguard=cf)
  add_link_options(-mguard=cf)
endif()
