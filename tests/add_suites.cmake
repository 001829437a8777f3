# Read by ctest: adds one test for each suite of a program of tests, in a process of its own. What it is told:
# NAME, the program's; PROGRAM, its path; LAUNCHER, the command that starts it; LISTER, the one that starts it to list
# its tests; LABELS, of its tests; ONE_BY_ONE, the suites of which each test has a process of its own; and LEFT_OUT, the
# single tests that this build can't run.

function(quor_add_filtered name filter)
  add_test("${NAME}.${name}" ${LAUNCHER} "${PROGRAM}" "--gtest_filter=${filter}")
  set_tests_properties("${NAME}.${name}" PROPERTIES LABELS "${LABELS}")
endfunction()

function(quor_add_suites)
  if(NOT EXISTS "${PROGRAM}")
    add_test(${NAME}_NOT_BUILT ${NAME}_NOT_BUILT)
    return()
  endif()
  execute_process(COMMAND ${LISTER} "${PROGRAM}" --gtest_list_tests
    OUTPUT_VARIABLE listing RESULT_VARIABLE result TIMEOUT 60)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} does not list its tests: ${result}")
  endif()

  # A line is "SUITE." or, below it, "  TEST". What follows is a comment with any bytes, some of which mean something
  # in a list.
  string(REGEX REPLACE " +#[^\n]*" "" listing "${listing}")
  string(REGEX MATCHALL "[^\n]+" lines "${listing}")
  string(JOIN ":" left_out ${LEFT_OUT})
  set(apart -1)
  foreach(line IN LISTS lines)
    if(line MATCHES "^([A-Za-z0-9_/]+)[.]$")
      set(suite "${CMAKE_MATCH_1}")
      list(FIND ONE_BY_ONE "${suite}" apart)
      if(apart EQUAL -1)
        quor_add_filtered("${suite}" "${suite}.*-${left_out}")
      endif()
    elseif(NOT line MATCHES "^  ([A-Za-z0-9_/]+)$")
      if(NOT line MATCHES "^Running main")
        message(FATAL_ERROR "${PROGRAM} lists what is neither a suite nor a test: ${line}")
      endif()
    elseif(NOT apart EQUAL -1)
      quor_add_filtered("${suite}.${CMAKE_MATCH_1}" "${suite}.${CMAKE_MATCH_1}-${left_out}")
    endif()
  endforeach()
endfunction()

quor_add_suites()
