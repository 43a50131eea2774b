# Installs the build tree BUILD into an empty folder STAGE.
file(REMOVE_RECURSE ${STAGE})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${STAGE}
  RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the installation failed")
endif()
