# Writes LIST, a ctest file with one test for each suite of the GoogleTest program PROGRAM: "PREFIX/Suite". A suite of
# parameters ("Widths/Resampling") keeps its whole name.
execute_process(COMMAND ${CMAKE_COMMAND} -E env ASAN_OPTIONS=detect_leaks=0 QT_QPA_PLATFORM=offscreen
    ${PROGRAM} --gtest_list_tests
  OUTPUT_VARIABLE output RESULT_VARIABLE result TIMEOUT 120)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} does not list its tests: ${result}")
endif()
string(REGEX MATCHALL "[^\n]+" lines "${output}")
set(text "")
foreach(line IN LISTS lines)
  if(line MATCHES "^([A-Za-z_0-9/]+)\\.($|  #)")
    set(suite ${CMAKE_MATCH_1})
    string(APPEND text
      "add_test([=[${PREFIX}/${suite}]=] [=[${PROGRAM}]=] [=[--gtest_filter=${suite}.*]=] --gtest_brief=1)\n"
      "set_tests_properties([=[${PREFIX}/${suite}]=] PROPERTIES TIMEOUT 900)\n")
  endif()
endforeach()
file(WRITE ${LIST} "${text}")
