# The Qt toolkit under names that do not tell its release: ztrace_qt_core, ztrace_qt_gui and,
# where Qt Script is installed, ztrace_qt_script.

if(NOT ZTRACE_QT MATCHES "^[45]$")
  message(FATAL_ERROR "ZTRACE_QT is 5 (Qt 5.15) or 4 (Qt 4.8), not \"${ZTRACE_QT}\".")
endif()
if(ZTRACE_QT STREQUAL "4")
  foreach(part PROGRAMS TESTS BENCHMARKS)
    if(ZTRACE_BUILD_${part})
      message(FATAL_ERROR "The plug-in is all that is built against Qt 4.8; programs, tests and "
        "benchmarks need Qt 5.15. Set ZTRACE_BUILD_${part}=OFF, or ZTRACE_QT=5.")
    endif()
  endforeach()
endif()

add_library(ztrace_qt_core INTERFACE)
add_library(ztrace_qt_gui INTERFACE)

if(ZTRACE_QT STREQUAL "4")
  # Every module that is there gets a target. QtScript is not named: this package takes optional
  # components for required ones.
  find_package(Qt4 4.8 REQUIRED QtCore QtGui)
  target_link_libraries(ztrace_qt_core INTERFACE Qt4::QtCore)
  target_link_libraries(ztrace_qt_gui INTERFACE Qt4::QtGui)
  if(TARGET Qt4::QtScript)
    add_library(ztrace_qt_script INTERFACE)
    target_link_libraries(ztrace_qt_script INTERFACE Qt4::QtScript)
  endif()
else()
  find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui OPTIONAL_COMPONENTS Script)
  target_link_libraries(ztrace_qt_core INTERFACE Qt5::Core)
  target_link_libraries(ztrace_qt_gui INTERFACE Qt5::Gui)
  if(TARGET Qt5::Script)
    add_library(ztrace_qt_script INTERFACE)
    target_link_libraries(ztrace_qt_script INTERFACE Qt5::Script)
  endif()
endif()
