# The zip that is handed out: `cpack` in the build folder of the preset windows writes
# hkd04a7-<version>-windows-x64.zip with one folder of that name.
#
#   hkd04a7-service.exe hkd04a7ctl.exe install.cmd uninstall.cmd README.md
#   standins/      libraries in place of the device's own, which its driver brings; not beside the program
#   include/rpc/   the interface, for those who write clients
#   example/       what the device's driver package provides
#   docs/
set(packaging "${PROJECT_SOURCE_DIR}/packaging/windows")

install(TARGETS hkd04a7-service hkd04a7ctl RUNTIME DESTINATION .)
install(TARGETS hkd04a7-utility hkd04a7-utility-etw LIBRARY DESTINATION standins)
install(FILES "${PROJECT_SOURCE_DIR}/standins/etw/hkd04a7-utility-etw.man" DESTINATION standins)
install(FILES "${PROJECT_SOURCE_DIR}/rpc/hkd04a7_rpc.idl" "${PROJECT_SOURCE_DIR}/rpc/hkd04a7_rpc.acf"
        DESTINATION include/rpc)
install(FILES "${PROJECT_SOURCE_DIR}/README.md" DESTINATION .)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/" DESTINATION docs)

# What Windows' own programs read has its line ends.
foreach(file install.cmd uninstall.cmd example/device-extension.inf example/device-extension.cmd)
  configure_file("${packaging}/${file}" "${PROJECT_BINARY_DIR}/packaging/${file}" @ONLY NEWLINE_STYLE CRLF)
  get_filename_component(folder "./${file}" DIRECTORY)
  install(FILES "${PROJECT_BINARY_DIR}/packaging/${file}" DESTINATION "${folder}")
endforeach()

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR Quorvex)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_LIST_DIR}/PackageVersion.cmake")
include(CPack)
