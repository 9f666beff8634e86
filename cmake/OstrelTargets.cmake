# How a room becomes a target. Every function takes all sources of its folder, and a library those of the rooms inside it:
# to add a file is to build it.
include_guard()

# Files are compiled by the dozen (CMAKE_UNITY_BUILD), in a third of the time: no two files of a room may define the same name in
# their anonymous namespaces.

# Loops over samples and checksums stand in these rooms, which are optimized as far as it goes. Elsewhere less does, in two thirds
# of the time to compile: what those wait for is the disk, a tool or a person.
set(OSTREL_ROOMS_OF_LOOPS wave platform foundation preview stereovalidator)

function(_ostrel_flags target)
  target_compile_definitions(${target} PRIVATE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_URL_CAST_FROM_STRING
    _REENTRANT)  # SDL2 wants it in all that link to it, and a precompiled header wants one answer of all
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-missing-field-initializers -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -fopenmp-simd)  # the simd pragmas of sample loops, no threads
  if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(${target} PRIVATE -Wno-subobject-linkage)  # what it warns of is meant for headers
  endif()
  if(OSTREL_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(OSTREL_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-omit-frame-pointer
      -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
  if(OSTREL_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()

function(_ostrel_optimize_less target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
endfunction()

# ostrel_precompiled(NAME HEADER [LINK libraries...]): headers that nearly every file includes, compiled once for all targets that
# are compiled with the same flags. They name it in target_precompile_headers(... REUSE_FROM NAME).
function(ostrel_precompiled name header)
  cmake_parse_arguments(arg "" "" "LINK" ${ARGN})
  set(source ${CMAKE_BINARY_DIR}/precompiled/${name}.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "[[maybe_unused]] static const int nothingElse = 0;\n")
  add_library(${name} OBJECT ${source})
  set_target_properties(${name} PROPERTIES AUTOMOC OFF)
  target_link_libraries(${name} PRIVATE Qt6::Core QCoro::Core ${arg_LINK})
  target_precompile_headers(${name} PRIVATE ${header})
  _ostrel_flags(${name})
endfunction()

# ostrel_library(NAME [DEPENDS rooms...] [LINK libraries...]): one static library for this folder, ostrel_<NAME>.
# Rooms are named without the prefix; the linker then refuses a call against the arrows.
function(ostrel_library name)
  cmake_parse_arguments(arg "" "" "DEPENDS;LINK" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp *.h)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(ostrel_${name} STATIC ${sources})
  target_include_directories(ostrel_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  list(TRANSFORM arg_DEPENDS PREPEND ostrel_)
  target_link_libraries(ostrel_${name} PUBLIC Qt6::Core QCoro::Core ${arg_DEPENDS} ${arg_LINK})
  _ostrel_flags(ostrel_${name})
  if(name IN_LIST OSTREL_ROOMS_OF_LOOPS)
    target_precompile_headers(ostrel_${name} REUSE_FROM ostrel_headers_for_loops)
  else()
    _ostrel_optimize_less(ostrel_${name})
    target_precompile_headers(ostrel_${name} REUSE_FROM ostrel_headers)
  endif()
endfunction()

# ostrel_program(NAME [DEPENDS rooms...] [LINK libraries...]): an installed program made of this folder's main.cpp.
function(ostrel_program name)
  cmake_parse_arguments(arg "" "" "DEPENDS;LINK" ${ARGN})
  add_executable(${name} main.cpp)
  list(TRANSFORM arg_DEPENDS PREPEND ostrel_)
  target_link_libraries(${name} PRIVATE ${arg_DEPENDS} ${arg_LINK})
  target_compile_definitions(${name} PRIVATE OSTREL_VERSION="${PROJECT_VERSION}")
  _ostrel_flags(${name})
  install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()

# ostrel_tests(NAME [DEPENDS rooms...] [LINK libraries...]): one test program for this folder, its cases found by ctest.
function(ostrel_tests name)
  cmake_parse_arguments(arg "" "" "DEPENDS;LINK" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS *.cpp *.h)
  add_executable(${name}_tests ${sources})
  target_include_directories(${name}_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  list(TRANSFORM arg_DEPENDS PREPEND ostrel_)
  target_link_libraries(${name}_tests PRIVATE ostrel_test_support ${arg_DEPENDS} ${arg_LINK} GTest::gmock)
  _ostrel_flags(${name}_tests)
  _ostrel_optimize_less(${name}_tests)
  target_precompile_headers(${name}_tests REUSE_FROM ostrel_headers_of_tests)
  _ostrel_suites(${name})
endfunction()

# ctest runs a suite (TEST_F's first word) in one process: to start a process for each of 1,800 cases takes longer than the
# cases do. The list is made anew whenever the program is.
function(_ostrel_suites name)
  set(list ${CMAKE_CURRENT_BINARY_DIR}/${name}_suites.cmake)
  add_custom_command(TARGET ${name}_tests POST_BUILD
    COMMAND ${CMAKE_COMMAND} -D PROGRAM=$<TARGET_FILE:${name}_tests> -D PREFIX=${name} -D LIST=${list}
      -P ${PROJECT_SOURCE_DIR}/cmake/ListSuites.cmake
    BYPRODUCTS ${list} VERBATIM)
  set(entry ${CMAKE_CURRENT_BINARY_DIR}/${name}_entry.cmake)
  file(WRITE ${entry} "if(EXISTS \"${list}\")\n  include(\"${list}\")\nelse()\n  add_test(${name}_NOT_BUILT ${name}_NOT_BUILT)\nendif()\n")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${entry})
endfunction()

# ostrel_fuzz_target(NAME [DEPENDS rooms...]): NAME.cpp defines LLVMFuzzerTestOneInput. With OSTREL_FUZZ it is a
# libFuzzer program; otherwise it replays tests/fuzz/corpus/NAME, which ctest runs.
function(ostrel_fuzz_target name)
  cmake_parse_arguments(arg "" "" "DEPENDS;LINK" ${ARGN})
  list(TRANSFORM arg_DEPENDS PREPEND ostrel_)
  set(corpus ${PROJECT_SOURCE_DIR}/tests/fuzz/corpus/${name})
  add_executable(${name}_fuzz ${name}.cpp)
  target_link_libraries(${name}_fuzz PRIVATE ${arg_DEPENDS} ${arg_LINK})
  _ostrel_flags(${name}_fuzz)
  if(OSTREL_FUZZ)
    target_link_options(${name}_fuzz PRIVATE -fsanitize=fuzzer)
    add_test(NAME fuzz/${name} COMMAND ${name}_fuzz -runs=0 ${corpus})
  else()
    target_sources(${name}_fuzz PRIVATE replay_main.cpp)
    add_test(NAME fuzz/${name} COMMAND ${name}_fuzz ${corpus})
  endif()
endfunction()
