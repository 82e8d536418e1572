# Finds libzmq and its C++ wrapper cppzmq and defines ZeroMQ::ZeroMQ. Statically linked for Windows, where it
# brings the system's socket libraries with it.
find_path(ZeroMQ_INCLUDE_DIR zmq.h)
find_path(ZeroMQ_CPP_INCLUDE_DIR zmq.hpp)
find_library(ZeroMQ_LIBRARY NAMES zmq libzmq)
mark_as_advanced(ZeroMQ_INCLUDE_DIR ZeroMQ_CPP_INCLUDE_DIR ZeroMQ_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(ZeroMQ REQUIRED_VARS ZeroMQ_LIBRARY ZeroMQ_INCLUDE_DIR ZeroMQ_CPP_INCLUDE_DIR)

if(ZeroMQ_FOUND AND NOT TARGET ZeroMQ::ZeroMQ)
  add_library(ZeroMQ::ZeroMQ UNKNOWN IMPORTED)
  set_target_properties(ZeroMQ::ZeroMQ PROPERTIES IMPORTED_LOCATION ${ZeroMQ_LIBRARY})
  target_include_directories(ZeroMQ::ZeroMQ INTERFACE ${ZeroMQ_INCLUDE_DIR} ${ZeroMQ_CPP_INCLUDE_DIR})
  target_link_libraries(ZeroMQ::ZeroMQ INTERFACE Threads::Threads)
  if(WIN32)
    target_compile_definitions(ZeroMQ::ZeroMQ INTERFACE ZMQ_STATIC)
    target_link_libraries(ZeroMQ::ZeroMQ INTERFACE ws2_32 iphlpapi)
  endif()
endif()
