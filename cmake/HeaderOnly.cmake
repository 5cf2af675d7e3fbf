# CLI11 and nlohmann-json for cross builds: both are headers alone, so the host's serve, copied to a folder of their own
# (the cross compiler must not see the rest of the host's headers).
# MSVC takes them from their own packages.
function(hkd_header_only target)
  if(MSVC)
    find_package(CLI11 REQUIRED)
    find_package(nlohmann_json REQUIRED)
    target_link_libraries(${target} PUBLIC CLI11::CLI11 nlohmann_json::nlohmann_json)
  elseif(WIN32)
    set(folder "${CMAKE_BINARY_DIR}/header_only")
    foreach(library CLI nlohmann)
      find_path(HKD_${library}_PARENT ${library} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
      if(NOT EXISTS "${folder}/${library}")
        file(COPY "${HKD_${library}_PARENT}/${library}" DESTINATION "${folder}")
      endif()
    endforeach()
    target_include_directories(${target} SYSTEM PUBLIC "${folder}")
  endif()
endfunction()
