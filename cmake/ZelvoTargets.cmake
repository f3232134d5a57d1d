# Helpers for the project's own targets.

# zelvo_library(NAME SOURCES ... [DEPENDS ...]): a static library of one layer, with src/
# as its include root and the project's warnings.
function(zelvo_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
  target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} PRIVATE zelvo_warnings)
  # Source paths in raise points are relative to the repository.
  target_compile_options(${name} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
endfunction()

# zelvo_test(NAME SOURCES ... [DEPENDS ...]): a GoogleTest program. Natively each test is
# a CTest case of its own; cross-built, the program runs whole under Wine, one CTest case
# per program, which keeps Wine start-ups few.
function(zelvo_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} zelvo_testing GTest::gmock GTest::gtest zelvo_warnings)
  target_compile_options(${name} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
  zelvo_version_info(${name} "Zelvo Mail Bridge test program")
  if(CMAKE_CROSSCOMPILING)
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "ZELVO_SOURCE_DIR=${PROJECT_SOURCE_DIR}" TIMEOUT 600)
  else()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
                         PROPERTIES ENVIRONMENT "ZELVO_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
  endif()
endfunction()
