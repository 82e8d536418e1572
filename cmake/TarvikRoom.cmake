# tarvik_room(NAME [DEPENDS target...])
#
# Declares the room in the current directory: every source below src/ becomes the static library NAME whose
# include root is src/. The seam between the platforms is files: *_win32.cpp build for Windows alone,
# *_posix.cpp everywhere else.
function(tarvik_room name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/src/*.cpp)
  tarvik_pick_platform(sources)
  if(sources)
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} PUBLIC src)
    target_link_libraries(${name} PUBLIC tarvik_settings ${ARG_DEPENDS})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE src)
    target_link_libraries(${name} INTERFACE tarvik_settings ${ARG_DEPENDS})
  endif()
  tarvik_check_headers(${name})
endfunction()

# Has the target header_check compile each header of the room by itself, so that none leans on what its users
# happen to include before it. Files that are made for repeated inclusion are named *-inl.h and stay out.
add_custom_target(header_check)
function(tarvik_check_headers name)
  set(root ${CMAKE_CURRENT_SOURCE_DIR}/src)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${root} ${root}/*.h)
  list(FILTER headers EXCLUDE REGEX "-inl\\.h$")
  if(WIN32)
    list(FILTER headers EXCLUDE REGEX "_posix\\.h$")
  else()
    list(FILTER headers EXCLUDE REGEX "_win32\\.h$")
  endif()
  set(sources)
  foreach(header IN LISTS headers)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/headers/${header}.cpp)
    # Twice: a header without a guard does not survive that.
    file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${header}\"\n#include \"${header}\"\n")
    list(APPEND sources ${source})
  endforeach()
  if(sources)
    add_library(${name}_headers OBJECT EXCLUDE_FROM_ALL ${sources})
    target_link_libraries(${name}_headers PRIVATE ${name})
    add_dependencies(header_check ${name}_headers)
  endif()
endfunction()

# Drops the sources of the other platform from the named list.
function(tarvik_pick_platform list_name)
  set(picked ${${list_name}})
  if(WIN32)
    list(FILTER picked EXCLUDE REGEX "_posix(Test|Bench)?\\.cpp$")
  else()
    list(FILTER picked EXCLUDE REGEX "_win32(Test|Bench)?\\.cpp$")
  endif()
  set(${list_name} ${picked} PARENT_SCOPE)
endfunction()

# tarvik_tests(ROOM [DEPENDS target...])
#
# Builds tests/<room>/*Test.cpp (and the helpers beside them) into <room>_tests and registers each test with
# CTest. Run under Wine when cross-building.
function(tarvik_tests room)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${room}/*.cpp)
  tarvik_pick_platform(sources)
  if(NOT sources)
    return()
  endif()
  add_executable(${room}_tests ${sources})
  target_include_directories(${room}_tests PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${room}_tests PRIVATE tarvik_settings ${ARG_DEPENDS} GTest::gmock GTest::gtest_main)
  if(TARVIK_SANITIZE AND NOT WIN32)
    # The code under test stays optimised. Optimising the tests too takes five times as long to compile.
    target_compile_options(${room}_tests PRIVATE -O0)
  endif()
  gtest_discover_tests(${room}_tests DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
    TEST_PREFIX "${room}." PROPERTIES TIMEOUT 300)
endfunction()
