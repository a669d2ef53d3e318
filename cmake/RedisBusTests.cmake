# Tests of the bus on Redis. Each starts its own redis-server on a unix
# socket in a temporary directory (tests/bus/redis.sh); no fixed ports.
find_program(REDIS_SERVER redis-server)
find_program(REDIS_CLI redis-cli)
if(NOT REDIS_SERVER OR NOT REDIS_CLI)
  message(WARNING "redis-server or redis-cli missing: the bus tests on Redis are not run")
  return()
endif()

# Every scenario once more, on Redis, with the same output and trace as on
# the simulated bus.
foreach(scenario ${SCENARIOS})
  file(RELATIVE_PATH scenario_name ${CMAKE_SOURCE_DIR}/tests/scenarios ${scenario})
  string(REGEX REPLACE "\\.scn$" "" scenario_name ${scenario_name})
  get_filename_component(scenario_group ${scenario_name} DIRECTORY)
  add_test(NAME scenario-redis/${scenario_name}
           COMMAND ${CMAKE_SOURCE_DIR}/tests/bus/scenario.sh $<TARGET_FILE:corvane-sim> ${scenario}
                   ${CMAKE_BINARY_DIR}/traces-redis/${scenario_group})
  set_tests_properties(scenario-redis/${scenario_name} PROPERTIES TIMEOUT 180)
endforeach()

# The masked log on Redis as on the simulated bus.
add_test(NAME log/secrets-mask-redis
         COMMAND ${CMAKE_SOURCE_DIR}/tests/bus/scenario.sh $<TARGET_FILE:corvane-sim>
                 ${CMAKE_SOURCE_DIR}/tests/log/secrets-masked.scn ${CMAKE_BINARY_DIR}/traces-redis/log)
set_tests_properties(log/secrets-mask-redis PROPERTIES TIMEOUT 180 ENVIRONMENT CORVANE_LOG_SECRETS=mask)

# The daemon, the tool and the server as separate processes.
file(GLOB BUS_PROCESS_TESTS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/bus/test-*.sh)
foreach(script ${BUS_PROCESS_TESTS})
  get_filename_component(test_name ${script} NAME_WE)
  string(REGEX REPLACE "^test-" "" test_name ${test_name})
  add_test(NAME bus/${test_name} COMMAND ${script} ${CMAKE_BINARY_DIR})
  set_tests_properties(bus/${test_name} PROPERTIES TIMEOUT 300)
endforeach()

# The same daemon linked against the Redis bus library alone.
foreach(test_name multi-process server-restart no-server crash prompt-stop admin-mistakes acl honest-states)
  add_test(NAME bus/${test_name}/corvaned-redis
           COMMAND ${CMAKE_SOURCE_DIR}/tests/bus/test-${test_name}.sh ${CMAKE_BINARY_DIR})
  set_tests_properties(bus/${test_name}/corvaned-redis PROPERTIES TIMEOUT 300
                       ENVIRONMENT CORVANE_TEST_DAEMON=corvaned-redis)
endforeach()

# platform/nbus.h on Redis linked without the simulated camera.
add_executable(corvane-nbus-redis-tests ${CMAKE_SOURCE_DIR}/tests/redisbus/nbus_redis_test.cpp)
target_link_libraries(corvane-nbus-redis-tests PRIVATE corvane_nbus_redis gtest_main)
gtest_discover_tests(corvane-nbus-redis-tests DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES)
