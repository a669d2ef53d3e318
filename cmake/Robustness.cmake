# Robustness checks: the soak, the fault loop and the libFuzzer targets.
# make test runs the short forms; make soak and make fuzz the long ones.

if(CORVANE_TESTS AND NOT CMAKE_CROSSCOMPILING)
  # Short soak: 100,000 client writes, none lost, resident size flat. The
  # daemon's log goes nowhere; corvane-sim's own messages stay on stderr.
  add_test(NAME soak/short
           COMMAND sh -c "\"$1\" --script \"$2\" > /dev/null" soak $<TARGET_FILE:corvane-sim>
                   ${CMAKE_SOURCE_DIR}/tests/soak/short.scn)
  # AddressSanitizer holds freed blocks back in its quarantine by design;
  # without it the resident size measures the allocations that stay.
  set_tests_properties(soak/short PROPERTIES TIMEOUT 300 ENVIRONMENT "ASAN_OPTIONS=quarantine_size_mb=0")
endif()

# The fault loop over every bus read of the start-up and the handlers.
add_executable(corvane-fault-loop tests/faults/fault_loop.cpp)
target_link_libraries(corvane-fault-loop PRIVATE corvaned_core corvane_platform_sim)
if(CORVANE_TESTS AND NOT CMAKE_CROSSCOMPILING)
  # A sample: every 10th start-up read, every handler routine's reads.
  add_test(NAME faults/sample COMMAND corvane-fault-loop --sample 10)
  set_tests_properties(faults/sample PROPERTIES TIMEOUT 600)
endif()

# Fuzz targets. With CORVANE_FUZZ (clang) they link libFuzzer; in every other
# host build they link a replay main, and make test runs each on its seeds
# and on every input that once crashed it (tests/fuzz/<target>/).
set(FUZZ_HANDLER_FAMILIES generic image encoder network events lens)
function(add_fuzz_target name source)
  add_executable(fuzz-${name} tests/fuzz/${source}.cpp tests/fuzz/fuzz_daemon.cpp ${ARGN})
  target_link_libraries(fuzz-${name} PRIVATE corvaned_core corvane_platform_sim)
  if(CORVANE_FUZZ)
    target_link_options(fuzz-${name} PRIVATE -fsanitize=fuzzer)
  else()
    target_sources(fuzz-${name} PRIVATE tests/fuzz/replay_main.cpp)
    add_test(NAME fuzz-replay/${name} COMMAND fuzz-${name} ${CMAKE_SOURCE_DIR}/tests/fuzz/${name})
  endif()
endfunction()

if(CORVANE_FUZZ OR (CORVANE_TESTS AND NOT CMAKE_CROSSCOMPILING))
  foreach(family ${FUZZ_HANDLER_FAMILIES})
    add_fuzz_target(handlers-${family} handlers)
    target_compile_definitions(fuzz-handlers-${family} PRIVATE CORVANE_FUZZ_FAMILY="${family}")
  endforeach()
  add_fuzz_target(converters converters)
  add_fuzz_target(startup startup)
  add_fuzz_target(device_file device_file)
  add_fuzz_target(script script)
  target_link_libraries(fuzz-script PRIVATE corvane_sim_driver)
  if(CORVANE_REDIS_BUS)
    add_fuzz_target(redis_reply redis_reply)
    target_link_libraries(fuzz-redis_reply PRIVATE corvane_redis_client)
  endif()
endif()
