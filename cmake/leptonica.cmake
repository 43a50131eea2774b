# The imaging library, as the target ztrace_leptonica.
#
# Its archive, where there is one that works, without its image formats (imaging/leptonicafiles.cpp):
# as a shared library it brings ten more, and a program with them starts 1.8 ms later. Otherwise the
# shared library. ZTRACE_LEPTONICA_FILES says whether leptonicafiles.cpp belongs to the build.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LEPTONICA REQUIRED IMPORTED_TARGET lept)

option(ZTRACE_SHARED_LEPTONICA "Link the imaging library as a shared one, though there is an archive." OFF)

add_library(ztrace_leptonica INTERFACE)
set(ZTRACE_LEPTONICA_FILES OFF)
find_library(LEPTONICA_ARCHIVE
  NAMES ${CMAKE_STATIC_LIBRARY_PREFIX}lept${CMAKE_STATIC_LIBRARY_SUFFIX}
        ${CMAKE_STATIC_LIBRARY_PREFIX}leptonica${CMAKE_STATIC_LIBRARY_SUFFIX}
  HINTS ${LEPTONICA_LIBRARY_DIRS})
mark_as_advanced(LEPTONICA_ARCHIVE)
# Another release may need more of its formats, or less: then this does not link.
if(LEPTONICA_ARCHIVE AND NOT ZTRACE_SHARED_LEPTONICA AND NOT DEFINED ZTRACE_LEPTONICA_ARCHIVE_WORKS)
  file(WRITE ${CMAKE_BINARY_DIR}/leptonica/uses.cpp "
#include \"leptonicafiles.h\"
#include <leptonica/allheaders.h>
void *volatile used[] = { (void *)pixBackgroundNormSimple, (void *)pixCreateNoInit, (void *)pixCreate,
    (void *)pixFindSkewAndDeskew, (void *)pixMedianCutQuantGeneral, (void *)pixSauvolaBinarizeTiled,
    (void *)pixSelectByArea, (void *)pixThresholdToBinary, (void *)pixInvert, (void *)setMsgSeverity };
int main() { ztrace::leaveOutFiles(); return used[0] == nullptr; }
")
  try_compile(works ${CMAKE_BINARY_DIR}/leptonica
    SOURCES ${CMAKE_BINARY_DIR}/leptonica/uses.cpp ${PROJECT_SOURCE_DIR}/imaging/leptonicafiles.cpp
    CMAKE_FLAGS "-DINCLUDE_DIRECTORIES=${PROJECT_SOURCE_DIR}/imaging;${LEPTONICA_INCLUDE_DIRS}"
    LINK_LIBRARIES ${LEPTONICA_ARCHIVE} m
    CXX_STANDARD 17)
  set(ZTRACE_LEPTONICA_ARCHIVE_WORKS ${works} CACHE INTERNAL "The imaging library's archive links.")
endif()
if(LEPTONICA_ARCHIVE AND NOT ZTRACE_SHARED_LEPTONICA AND ZTRACE_LEPTONICA_ARCHIVE_WORKS)
  set(ZTRACE_LEPTONICA_FILES ON)
  target_include_directories(ztrace_leptonica SYSTEM INTERFACE ${LEPTONICA_INCLUDE_DIRS})
  target_link_libraries(ztrace_leptonica INTERFACE ${LEPTONICA_ARCHIVE} m)
else()
  target_link_libraries(ztrace_leptonica INTERFACE PkgConfig::LEPTONICA)
endif()
