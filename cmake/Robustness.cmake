# Robustness checks: the soak, the fault loop and the libFuzzer targets.
# make test runs the short forms; make soak and make fuzz the long ones.

if(CORVANE_TESTS AND NOT CMAKE_CROSSCOMPILING)
  # Short soak: 100,000 client writes, none lost, resident size flat. The
  # daemon's log goes nowhere; corvane-sim's own messages stay on stderr.
  add_test(NAME soak/short
           COMMAND sh -c "\"$1\" --script \"$2\" > /dev/null" soak $<TARGET_FILE:corvane-sim>
                   ${CMAKE_SOURCE_DIR}/tests/soak/short.scn)
  set_tests_properties(soak/short PROPERTIES TIMEOUT 300)
endif()

# The fault loop over every bus read of the start-up and the handlers.
add_executable(corvane-fault-loop tests/faults/fault_loop.cpp)
target_link_libraries(corvane-fault-loop PRIVATE corvaned_core corvane_platform_sim)
if(CORVANE_TESTS AND NOT CMAKE_CROSSCOMPILING)
  # A sample: every 10th start-up read, every handler routine's reads.
  add_test(NAME faults/sample COMMAND corvane-fault-loop --sample 10)
  set_tests_properties(faults/sample PROPERTIES TIMEOUT 600)
endif()
