# add_ztrace_test(NAME SOURCES file... [LIBRARIES target...] [LABELS label...] [TIMEOUT seconds])
#
# One QtTest program and one CTest entry of the same name. The file that declares the test class
# is read by moc; no display is needed.
find_package(Qt5 5.15 REQUIRED COMPONENTS Test)

# Also for tests that are no QtTest programs.
set(ztrace_test_environment
  QT_QPA_PLATFORM=offscreen
  LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0)
# And where the headless host runs: the platform's losses show only in whole call stacks.
set(ztrace_host_environment ASAN_OPTIONS=fast_unwind_on_malloc=0)

function(add_ztrace_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES AUTOMOC ON)
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} ztrace_options Qt5::Test)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${name} PRIVATE ZTRACE_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${ARG_TIMEOUT}
    LABELS "${ARG_LABELS}"
    ENVIRONMENT "${ztrace_test_environment}")
endfunction()
