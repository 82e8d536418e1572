# Language, warnings, hardening and sanitizers that every target of the project shares.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# The presets name the prefix that third_party/build.sh links. Where it is missing, the system's own packages must
# not quietly take its place: they are other versions, with other options.
foreach(prefix IN LISTS CMAKE_PREFIX_PATH)
  if(NOT IS_DIRECTORY "${prefix}")
    message(FATAL_ERROR "No third-party libraries at ${prefix}: run third_party/build.sh first")
  endif()
endforeach()

option(TARVIK_TESTS "Build the tests" ON)
option(TARVIK_BENCHMARKS "Build the benchmarks" OFF)
option(TARVIK_WERROR "Treat warnings as errors; off for compilers that nobody has tried" ON)
option(TARVIK_FUZZ "Build the fuzz targets (clang)" OFF)
set(TARVIK_SANITIZE "" CACHE STRING "Value of -fsanitize= for every target")
option(TARVIK_SANITIZE_TRAP "Trap on a finding instead of reporting it" OFF)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

# Everything compiled here, tests included, goes through this interface.
add_library(tarvik_settings INTERFACE)
target_compile_options(tarvik_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${TARVIK_WERROR}>:-Werror>
  # GCC 12 sees overlapping copies in every std::string assigned from a literal (its bug 105651).
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
  # Throw sites name their source file: relative to the tree, wherever the tree stands.
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)

if(TARVIK_SANITIZE)
  set(sanitize -fsanitize=${TARVIK_SANITIZE} -fno-omit-frame-pointer)
  if(TARVIK_SANITIZE_TRAP)
    list(APPEND sanitize -fsanitize-undefined-trap-on-error)
  elseif(TARVIK_SANITIZE MATCHES "undefined")
    list(APPEND sanitize -fno-sanitize-recover=all)
  endif()
  target_compile_options(tarvik_settings INTERFACE ${sanitize})
  if(NOT TARVIK_SANITIZE_TRAP)
    target_link_options(tarvik_settings INTERFACE ${sanitize})
  endif()
endif()

if(TARVIK_FUZZ)
  target_compile_options(tarvik_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(WIN32)
  target_compile_definitions(tarvik_settings INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00 WINVER=0x0A00)
  target_compile_options(tarvik_settings INTERFACE -ffunction-sections -fdata-sections -fstack-protector-strong)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_options(tarvik_settings INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  endif()
  target_link_options(tarvik_settings INTERFACE
    -static -fstack-protector-strong -Wl,--gc-sections,--dynamicbase,--high-entropy-va,--nxcompat)
endif()

find_package(Threads REQUIRED)

# tarvik_vector_sources(FILE...): sources of the current directory that are compiled for wider vectors. On Windows the
# compiler keeps a vector of 32 bytes wherever the stack stands, and moves it unaligned (GCC bug 54412, as Debian mends
# it): the check of alignment would take that for a mistake of ours. Elsewhere it stays on.
function(tarvik_vector_sources)
  if(WIN32 AND TARVIK_SANITIZE)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -fno-sanitize=alignment)
  endif()
endfunction()
