# hkd_finish_program(<target> <description>): what a program or library that is handed out has besides its code. Windows
# only, nothing elsewhere.
#
# - the version resource, from packaging/windows/program.rc.in, with the project's version;
# - a program's manifest, from packaging/windows/program.manifest.in;
# - its debug information in a file of its own, build folder's symbols/<file>.debug, which the program names.
if(NOT WIN32)
  function(hkd_finish_program)
  endfunction()
  return()
endif()

set(HKD_RESOURCE_TEMPLATES "${PROJECT_SOURCE_DIR}/packaging/windows")

# The project's version as four numbers, with dots and with commas.
set(HKD_VERSION_DOTS "${PROJECT_VERSION}")
while(NOT HKD_VERSION_DOTS MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+$")
  string(APPEND HKD_VERSION_DOTS ".0")
endwhile()
string(REPLACE "." "," HKD_VERSION_COMMAS "${HKD_VERSION_DOTS}")

function(hkd_separate_symbols target)
  if(MSVC)
    return()  # the linker has written them there
  endif()
  set(symbols "${HKD_SYMBOL_FOLDER}/$<TARGET_FILE_NAME:${target}>.debug")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND "${CMAKE_OBJCOPY}" --only-keep-debug "$<TARGET_FILE:${target}>" "${symbols}"
    COMMAND "${CMAKE_OBJCOPY}" --strip-all "--add-gnu-debuglink=${symbols}" "$<TARGET_FILE:${target}>"
    VERBATIM)
endfunction()

function(hkd_finish_program target description)
  get_target_property(type ${target} TYPE)
  get_target_property(name ${target} OUTPUT_NAME)
  if(NOT name)
    set(name ${target})
  endif()
  set(HKD_DESCRIPTION "${description}")
  set(resources "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
  set(manifest "${CMAKE_CURRENT_BINARY_DIR}/${target}.manifest")
  if(type STREQUAL "EXECUTABLE")
    set(HKD_FILE_NAME "${name}.exe")
    set(HKD_FILE_TYPE VFT_APP)
    set(HKD_MANIFEST "CREATEPROCESS_MANIFEST_RESOURCE_ID RT_MANIFEST \"${target}.manifest\"")
    configure_file("${HKD_RESOURCE_TEMPLATES}/program.manifest.in" "${manifest}" @ONLY)
    set_source_files_properties("${resources}" PROPERTIES OBJECT_DEPENDS "${manifest}")
  else()
    set(HKD_FILE_NAME "${name}.dll")
    set(HKD_FILE_TYPE VFT_DLL)
    set(HKD_MANIFEST "")  # a library runs under its program's
  endif()
  configure_file("${HKD_RESOURCE_TEMPLATES}/program.rc.in" "${resources}" @ONLY)
  target_sources(${target} PRIVATE "${resources}")
  hkd_separate_symbols(${target})
endfunction()
