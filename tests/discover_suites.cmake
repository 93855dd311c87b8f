# Asks a test program for its suites and writes one test for each of them to a file for ctest.
#
# PROGRAM   the test program, PREFIX what stands before the name of each test
# TESTS     the file, PROPERTIES what all of the tests have
execute_process(COMMAND "${PROGRAM}" --gtest_list_tests
  OUTPUT_VARIABLE listed TIMEOUT 60 COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "\n[^ \n]+\\.[^\n]*" suites "\n${listed}")
if(NOT suites)
  message(FATAL_ERROR "${PROGRAM} lists no tests")
endif()
set(script "")
foreach(suite IN LISTS suites)
  string(REGEX REPLACE "\n([^ ]+)\\..*" "\\1" suite "${suite}")
  string(APPEND script
    "add_test([=[${PREFIX}/${suite}]=] [=[${PROGRAM}]=] [=[--gtest_filter=${suite}.*]=])\n"
    "set_tests_properties([=[${PREFIX}/${suite}]=] PROPERTIES ${PROPERTIES})\n")
endforeach()
file(WRITE "${TESTS}" "${script}")
