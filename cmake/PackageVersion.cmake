# Read by cpack: names the package after its version, and refuses one that the service would not run with. Where the
# recorded version's first number is 3 or less, the service sets itself to demand start and stops.
set(CPACK_PACKAGE_FILE_NAME "hkd04a7-${CPACK_PACKAGE_VERSION}-windows-x64")
if(NOT CPACK_PACKAGE_VERSION MATCHES "^0*([0-9]+)[.]" OR CMAKE_MATCH_1 LESS 4)
  message(FATAL_ERROR "Version ${CPACK_PACKAGE_VERSION} cannot be packaged: its first number must be 4 or more.")
endif()
