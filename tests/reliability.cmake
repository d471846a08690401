# Reliability proof: the process killed at every write-side system call, write faults
# (disk full, I/O errors, file-size limit), and a memory check of end-to-end runs.
find_program(STRACE strace)
set(ORV_RELIABILITY_ENV "ORVCONFIG=$<TARGET_FILE:orvconfig>")
if(STRACE)
  add_test(NAME reliability_kill_points
           COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/reliability/kill_points.sh)
  set_tests_properties(reliability_kill_points PROPERTIES
    ENVIRONMENT "${ORV_RELIABILITY_ENV}" TIMEOUT 600)
endif()
if(STRACE)
  add_test(NAME reliability_write_faults
           COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/reliability/write_faults.sh)
  set_tests_properties(reliability_write_faults PROPERTIES
    ENVIRONMENT "${ORV_RELIABILITY_ENV}" TIMEOUT 600)
endif()

# memcheck needs a binary without the sanitizers: this build's own when it has none, else
# one built beside it.
find_program(VALGRIND valgrind)
if(VALGRIND AND BATS)
  if(ORV_SANITIZE)
    set(ORV_VALGRIND_ENV "VALGRIND_BUILD_DIR=${CMAKE_BINARY_DIR}/valgrind")
  else()
    set(ORV_VALGRIND_ENV "ORVCONFIG_PLAIN=$<TARGET_FILE:orvconfig>")
  endif()
  add_test(NAME reliability_valgrind
           COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/reliability/valgrind_e2e.sh)
  set_tests_properties(reliability_valgrind PROPERTIES
    ENVIRONMENT "${ORV_VALGRIND_ENV}" TIMEOUT 900)
endif()
