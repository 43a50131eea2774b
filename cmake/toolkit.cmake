# The Qt toolkit under names that do not tell its release: ztrace_qt_core, ztrace_qt_gui and,
# where Qt Script is installed, ztrace_qt_script.

add_library(ztrace_qt_core INTERFACE)
add_library(ztrace_qt_gui INTERFACE)

if(ZTRACE_QT STREQUAL "4")
  find_package(Qt4 4.8 REQUIRED QtCore QtGui OPTIONAL_COMPONENTS QtScript)
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
