# Build options, each with a sentence, and the flags that every target of ours is built with.

if(CMAKE_SOURCE_DIR STREQUAL PROJECT_SOURCE_DIR)
  set(ZTRACE_TOP_LEVEL ON)
else()
  set(ZTRACE_TOP_LEVEL OFF)
endif()

set(ZELVORA_SDK "" CACHE PATH
    "Folder of the application's own SDK (include/, lib/); empty builds the stand-in in sdk/.")
set(ZTRACE_QT "5" CACHE STRING "Major version of the Qt toolkit: 5 (5.15) or 4 (4.8).")
set(ZTRACE_PLUGIN_DIR "${CMAKE_INSTALL_LIBDIR}/zelvora/plugins" CACHE STRING
    "Where the plug-in is installed, below the install prefix or absolute.")
set(ZTRACE_SANITIZE "" CACHE STRING
    "Sanitizers for every target, as one compiler argument: \"address,undefined\".")
option(ZTRACE_WERROR "Treat compiler warnings as errors." OFF)
option(ZTRACE_PLAIN_KERNELS "Use only the portable kernels, never vector instruction sets." OFF)
option(ZTRACE_COVERAGE "Instrument for coverage." OFF)
option(ZTRACE_FUZZ "Build the fuzz targets with libFuzzer (clang) instead of the replay main." OFF)

# The programs need Qt 5; the plug-in is all that is built against Qt 4.8.
set(programsDefault ${ZTRACE_TOP_LEVEL})
if(ZTRACE_QT STREQUAL "4" OR ZELVORA_SDK)
  set(programsDefault OFF)
endif()
option(ZTRACE_BUILD_PROGRAMS "Build the command line and the headless host." ${programsDefault})
option(ZTRACE_BUILD_TESTS "Build the tests." OFF)
option(ZTRACE_BUILD_BENCHMARKS "Build the benchmarks." OFF)

if(ZTRACE_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type." FORCE)
endif()

# Programs find the libraries beside them by relative paths, so that builds in two folders are equal.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Linked by every target of ours. Bytes are signed whatever the machine's char is, and
# floating-point expressions are evaluated as written: results are exact by contract.
add_library(ztrace_options INTERFACE)
target_compile_features(ztrace_options INTERFACE cxx_std_17)
# The toolkit's vectors start from a shared empty record, which gcc takes for a buffer of size 0.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(ztrace_options INTERFACE -Wno-stringop-overflow)
endif()
target_compile_options(ztrace_options INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion
  -ffp-contract=off -fsigned-char
  $<$<BOOL:${ZTRACE_WERROR}>:-Werror>)
if(ZTRACE_SANITIZE)
  target_compile_options(ztrace_options INTERFACE
    -fsanitize=${ZTRACE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(ztrace_options INTERFACE -fsanitize=${ZTRACE_SANITIZE})
endif()
if(ZTRACE_COVERAGE)
  target_compile_options(ztrace_options INTERFACE --coverage)
  target_link_options(ztrace_options INTERFACE --coverage)
endif()
