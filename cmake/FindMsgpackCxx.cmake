# Finds the headers of msgpack for C++ and defines MsgpackCxx::MsgpackCxx: header-only, without Boost.
find_path(MsgpackCxx_INCLUDE_DIR msgpack.hpp)
mark_as_advanced(MsgpackCxx_INCLUDE_DIR)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(MsgpackCxx REQUIRED_VARS MsgpackCxx_INCLUDE_DIR)

if(MsgpackCxx_FOUND AND NOT TARGET MsgpackCxx::MsgpackCxx)
  add_library(MsgpackCxx::MsgpackCxx INTERFACE IMPORTED)
  target_include_directories(MsgpackCxx::MsgpackCxx INTERFACE ${MsgpackCxx_INCLUDE_DIR})
  target_compile_definitions(MsgpackCxx::MsgpackCxx INTERFACE MSGPACK_NO_BOOST)
endif()
