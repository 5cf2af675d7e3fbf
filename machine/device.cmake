# The simulated device: a mapping that the daemon, the tool, tests and the device stand-in share. Self-contained, since
# it also becomes part of a library that programs load at run time.
add_library(device_map STATIC
  ${CMAKE_CURRENT_LIST_DIR}/device.cpp
  ${CMAKE_CURRENT_LIST_DIR}/device_answers.cpp
  ${CMAKE_CURRENT_LIST_DIR}/device_map.cpp
  ${CMAKE_CURRENT_LIST_DIR}/device_waiter.cpp)
target_link_libraries(device_map PUBLIC platform_base Threads::Threads)
