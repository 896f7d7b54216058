# Makes every suite of a test program a test of ctest. A program starts in as much time as
# most single tests take.
# Use: cmake -DPROGRAM=... -DRUNNER=... -DLABEL=... -DENVIRONMENT=... -DFILE=... -P ListSuites.cmake

execute_process(COMMAND ${RUNNER} "${PROGRAM}" --gtest_list_tests
  OUTPUT_VARIABLE list COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+\\." suites "${list}")
if(NOT suites)
  message(FATAL_ERROR "${PROGRAM} has no tests.")
endif()
set(tests "")
foreach(suite IN LISTS suites)
  string(REGEX REPLACE "[\n.]" "" suite "${suite}")
  set(name "${LABEL}.${suite}")
  list(JOIN RUNNER " " runner)
  string(APPEND tests
    "add_test([[${name}]] ${runner} [[${PROGRAM}]] [[--gtest_filter=${suite}.*]])\n"
    "set_tests_properties([[${name}]] PROPERTIES LABELS ${LABEL} ENVIRONMENT [[${ENVIRONMENT}]])\n")
endforeach()
file(WRITE "${FILE}" "${tests}")
