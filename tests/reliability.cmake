# Reliability proof: the process killed at every write-side system call, write faults
# (disk full, I/O errors, file-size limit), over the representative edits.
find_program(STRACE strace)
if(STRACE)
  add_test(NAME reliability_faults COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/reliability/faults.sh)
  set_tests_properties(reliability_faults PROPERTIES
    ENVIRONMENT "ORVCONFIG=$<TARGET_FILE:orvconfig>" TIMEOUT 1200)
endif()
