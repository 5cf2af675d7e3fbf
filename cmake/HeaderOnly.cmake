# CLI11 and nlohmann-json for cross builds: both are headers alone, so the host's serve, copied to a folder of their own
# (the cross compiler must not see the rest of the host's headers).
function(hkd_header_only target)
  if(WIN32)
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
