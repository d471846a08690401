# Reliability proof: the process killed at every write-side system call, write faults
# (disk full, I/O errors, file-size limit).
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
