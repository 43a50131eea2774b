# The application's libraries: the stand-in of sdk/, or with ZELVORA_SDK the real headers and
# libraries. Both answer to the target names zelvoracore, zelvoraentity and zelvoraecmaapi.

# Whether the libraries lie in the build tree where they do below the prefix.
set(ZTRACE_SDK_AS_INSTALLED OFF)
if(NOT ZELVORA_SDK AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(ZTRACE_SDK_AS_INSTALLED ON)
endif()

if(NOT ZELVORA_SDK)
  add_subdirectory(sdk)
  return()
endif()

get_filename_component(ZELVORA_SDK "${ZELVORA_SDK}" ABSOLUTE BASE_DIR "${CMAKE_BINARY_DIR}")
if(NOT IS_DIRECTORY "${ZELVORA_SDK}/include")
  message(FATAL_ERROR "ZELVORA_SDK: no folder ${ZELVORA_SDK}/include")
endif()

# An SDK may be headers alone: then the host supplies the symbols when it loads the plug-in.
foreach(name zelvoracore zelvoraentity zelvoraecmaapi)
  add_library(${name} INTERFACE)
  target_include_directories(${name} SYSTEM INTERFACE "${ZELVORA_SDK}/include")
  find_library(${name}_LIBRARY ${name} PATHS "${ZELVORA_SDK}/lib" NO_DEFAULT_PATH)
  if(${name}_LIBRARY)
    target_link_libraries(${name} INTERFACE "${${name}_LIBRARY}")
  endif()
endforeach()
target_link_libraries(zelvoracore INTERFACE ztrace_qt_core)
target_link_libraries(zelvoraentity INTERFACE zelvoracore)
if(TARGET ztrace_qt_script)
  target_link_libraries(zelvoraecmaapi INTERFACE zelvoraentity ztrace_qt_script)
endif()
