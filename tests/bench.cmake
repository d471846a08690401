# Smoke runs of the benchmark scripts against the test build: tiny sizes and two runs.
# They check that every script runs and ends with its table (and that the lookup counts
# are one per name); no timing is ever judged.
foreach(bench edit lookups copy startup)
  add_test(NAME bench_smoke_${bench}
           COMMAND ${PROJECT_SOURCE_DIR}/bench/smoke ${bench} $<TARGET_FILE:orvconfig>)
  set_tests_properties(bench_smoke_${bench} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 120)
endforeach()
