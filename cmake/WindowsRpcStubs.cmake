# hkd_generate_rpc_stubs(<folder>): puts the interface's header and stubs (hkd04a7_rpc.h, _s.c, _c.c) into the folder, from
# rpc/hkd04a7_rpc.idl and .acf. Client stubs have the prefix Client_.
#
# MSVC: the platform's own compiler, for both transfer syntaxes, while building. It reads all attributes of the two files,
# and nothing is left to complete. (Not run in this project's own checks, which have no such compiler.)
#
# Otherwise: widl, completed by windows-complete-rpc-stubs.cmake, while configuring: what another version of widl prints
# is found before anything is compiled. A change of one of the three files configures anew.
set(HKD_RPC_IDL "${PROJECT_SOURCE_DIR}/rpc/hkd04a7_rpc.idl")
set(HKD_RPC_ACF "${PROJECT_SOURCE_DIR}/rpc/hkd04a7_rpc.acf")
set(HKD_RPC_COMPLETION "${CMAKE_CURRENT_LIST_DIR}/windows-complete-rpc-stubs.cmake")

# Ends the configuration when a step of the generation failed, with what it printed.
function(hkd_check_stub_step step result output)
  if(NOT result EQUAL 0)
    execute_process(COMMAND "${HKD_WIDL}" -V OUTPUT_VARIABLE version)
    string(REGEX MATCH "version [^\n]*" version "${version}")
    message(FATAL_ERROR "The RPC stubs cannot be generated with this widl (${version}, ${HKD_WIDL}): ${step}\n${output}")
  endif()
endfunction()

function(hkd_generate_rpc_stubs_with_widl folder)
  find_program(HKD_WIDL x86_64-w64-mingw32-widl REQUIRED)
  set(printed "${folder}/widl")
  file(MAKE_DIRECTORY "${printed}")
  execute_process(
    COMMAND "${HKD_WIDL}" --win64 -Oif --prefix-client=Client_ -h -H hkd04a7_rpc.h -s -S hkd04a7_rpc_s.c
            -c -C hkd04a7_rpc_c.c "--acf=${HKD_RPC_ACF}" "${HKD_RPC_IDL}"
    WORKING_DIRECTORY "${printed}" RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  hkd_check_stub_step("it does not accept the interface" "${result}" "${output}")
  execute_process(
    COMMAND "${CMAKE_COMMAND}" "-DHEADER=${printed}/hkd04a7_rpc.h" "-DSERVER=${printed}/hkd04a7_rpc_s.c"
            "-DCLIENT=${printed}/hkd04a7_rpc_c.c" -P "${HKD_RPC_COMPLETION}"
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  hkd_check_stub_step("it prints other text than is completed here" "${result}" "${output}")
  foreach(file hkd04a7_rpc.h hkd04a7_rpc_s.c hkd04a7_rpc_c.c)
    file(COPY_FILE "${printed}/${file}" "${folder}/${file}" ONLY_IF_DIFFERENT)
  endforeach()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    "${HKD_RPC_IDL}" "${HKD_RPC_ACF}" "${HKD_RPC_COMPLETION}")
endfunction()

function(hkd_generate_rpc_stubs_with_midl folder)
  find_program(HKD_MIDL midl REQUIRED)
  file(MAKE_DIRECTORY "${folder}")
  set(outputs "${folder}/hkd04a7_rpc.h" "${folder}/hkd04a7_rpc_s.c" "${folder}/hkd04a7_rpc_c.c")
  add_custom_command(OUTPUT ${outputs}
    COMMAND "${HKD_MIDL}" /nologo /W4 /WX /env x64 /target NT100 /protocol all /robust /prefix client Client_
            /out "${folder}" /h hkd04a7_rpc.h /sstub hkd04a7_rpc_s.c /cstub hkd04a7_rpc_c.c
            /acf "${HKD_RPC_ACF}" "${HKD_RPC_IDL}"
    DEPENDS "${HKD_RPC_IDL}" "${HKD_RPC_ACF}"
    COMMENT "Generating the RPC stubs" VERBATIM)
  add_custom_target(rpc_stub_sources DEPENDS ${outputs})
endfunction()

function(hkd_generate_rpc_stubs folder)
  if(MSVC)
    hkd_generate_rpc_stubs_with_midl("${folder}")
  else()
    hkd_generate_rpc_stubs_with_widl("${folder}")
  endif()
endfunction()
