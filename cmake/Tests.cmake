# Unit tests (GoogleTest, built from Debian's source package so the same
# code serves the host and the cross build) and corvane-sim scenarios.
set(GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH "GoogleTest sources")
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
add_subdirectory(${GTEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
# GoogleTest's own sources are not held to the project's warning set.
target_compile_options(gtest PRIVATE -Wno-error)
target_compile_options(gtest_main PRIVATE -Wno-error)

include(GoogleTest)

file(GLOB UNIT_TEST_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/unit/*.cpp)
add_executable(corvane-unit-tests ${UNIT_TEST_SOURCES})
target_link_libraries(corvane-unit-tests PRIVATE corvaned_core corvane_platform_sim gtest_main)
if(CORVANE_TEST_PROPERTIES)
  set(unit_test_properties PROPERTIES ${CORVANE_TEST_PROPERTIES})
endif()
# Parameterized tests are named by their index (NO_PRETTY_VALUES): a value
# can be a long string, or bytes that differ from run to run.
gtest_discover_tests(corvane-unit-tests DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
                     ${unit_test_properties})

# Every tests/scenarios/**/*.scn is one test: corvane-sim runs it and fails
# on the first expectation that does not hold.
file(GLOB_RECURSE SCENARIOS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/scenarios/*.scn)
foreach(scenario ${SCENARIOS})
  file(RELATIVE_PATH scenario_name ${CMAKE_SOURCE_DIR}/tests/scenarios ${scenario})
  string(REGEX REPLACE "\\.scn$" "" scenario_name ${scenario_name})
  get_filename_component(scenario_dir ${scenario} DIRECTORY)
  add_test(NAME scenario/${scenario_name}
           COMMAND corvane-sim --script ${scenario} --trace ${CMAKE_BINARY_DIR}/traces/${scenario_name}.trace
           WORKING_DIRECTORY ${scenario_dir})
  set_tests_properties(scenario/${scenario_name} PROPERTIES TIMEOUT 120)
endforeach()
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/traces)

# The daemon's includes run one way (README.md, layout).
add_test(NAME layout/includes
         COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${CMAKE_SOURCE_DIR} -P ${CMAKE_SOURCE_DIR}/tests/layout/check_includes.cmake)

# The log under each CORVANE_LOG_SECRETS word: masked as the packaged
# services run, in clear (the legacy lines) unset or "clear".
foreach(word mask clear unset)
  set(script ${CMAKE_SOURCE_DIR}/tests/log/secrets-$<IF:$<STREQUAL:${word},mask>,masked,clear>.scn)
  add_test(NAME log/secrets-${word} COMMAND corvane-sim --script ${script}
           WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}/tests/log)
  if(NOT word STREQUAL "unset")
    set_tests_properties(log/secrets-${word} PROPERTIES ENVIRONMENT CORVANE_LOG_SECRETS=${word})
  endif()
endforeach()

# The head views of corvane-sim are tested directly.
target_sources(corvane-unit-tests PRIVATE ${CMAKE_SOURCE_DIR}/sim/driver/head.cpp)

# What corvane-web and the consoles show, without a browser.
if(CORVANE_WEB)
  add_executable(corvane-web-tests ${CMAKE_SOURCE_DIR}/tests/web/unit/view_test.cpp)
  target_link_libraries(corvane-web-tests PRIVATE corvane_web corvane_line_editor gtest_main)
  gtest_discover_tests(corvane-web-tests DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES)
endif()

# The operator's page in Debian's headless chromium (python3-selenium with
# chromium-driver); the screenshot is kept in artifacts/.
if(CORVANE_WEB AND NOT CMAKE_CROSSCOMPILING)
  add_test(NAME web/page
           COMMAND /usr/bin/python3 ${CMAKE_SOURCE_DIR}/tests/web/page_test.py $<TARGET_FILE:corvane-web>
                   ${CMAKE_BINARY_DIR}/artifacts)
  set_tests_properties(web/page PROPERTIES TIMEOUT 180)
  # rebinding names, slow clients, oversized bodies, idle connections
  add_test(NAME web/edge COMMAND /usr/bin/python3 ${CMAKE_SOURCE_DIR}/tests/web/edge_test.py $<TARGET_FILE:corvane-web>)
  set_tests_properties(web/edge PROPERTIES TIMEOUT 180)
  # ... and as one more client of the bus on Redis, the daemon in a process of its own
  if(CORVANE_REDIS_BUS)
    add_test(NAME web/page-redis
             COMMAND /usr/bin/python3 ${CMAKE_SOURCE_DIR}/tests/web/page_test.py $<TARGET_FILE:corvane-web>
                     ${CMAKE_BINARY_DIR}/artifacts $<TARGET_FILE:corvane-sim> $<TARGET_FILE:corvane-bus>)
    set_tests_properties(web/page-redis PROPERTIES TIMEOUT 180)
  endif()
endif()

# A script line with too few words fails with the command's usage line.
add_test(NAME console/script-usage COMMAND corvane-sim --script ${CMAKE_SOURCE_DIR}/tests/console/too-few-words.scn)
set_tests_properties(console/script-usage PROPERTIES
  PASS_REGULAR_EXPRESSION "too-few-words.scn:4: usage: fault NAME CODE"
  FAIL_REGULAR_EXPRESSION "too-few-words.scn:3")

# corvane-sim's console in a real terminal (a private tmux server).
if(NOT CMAKE_CROSSCOMPILING)
  add_test(NAME console/terminal
           COMMAND /usr/bin/python3 ${CMAKE_SOURCE_DIR}/tests/console/console_test.py $<TARGET_FILE:corvane-sim>
                   $<$<TARGET_EXISTS:corvane-bus>:$<TARGET_FILE:corvane-bus>>)
  set_tests_properties(console/terminal PROPERTIES TIMEOUT 120)
endif()

if(CORVANE_REDIS_BUS)
  include(cmake/RedisBusTests.cmake)
endif()

# README.md's walkthrough of the real bus, as written, beside make demo-bus.
# It serves the page on the walkthrough's own port, 8080.
if(CORVANE_REDIS_BUS AND CORVANE_WEB AND NOT CMAKE_CROSSCOMPILING)
  add_test(NAME readme/bus-walkthrough
           COMMAND ${CMAKE_SOURCE_DIR}/tests/readme/bus-walkthrough.sh ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR})
  set_tests_properties(readme/bus-walkthrough PROPERTIES TIMEOUT 180 RESOURCE_LOCK port-8080)
endif()
