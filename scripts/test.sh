#!/bin/sh
# Builds with AddressSanitizer and UndefinedBehaviorSanitizer, runs the static checks
# (scripts/lint.sh) and every test.
set -eu
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh
BUILD=${BUILD_DIR:-build-asan}
# shellcheck disable=SC2086 # ORV_CMAKE_ARGS holds several cmake arguments
cmake -S . -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DORV_SANITIZE=ON -DORV_WERROR=ON \
    ${ORV_CMAKE_ARGS:-}
cmake --build "$BUILD"
# The static checks run beside the tests (each leaves processor time the other can use);
# their report follows the tests' and either failing fails the run. The cases that judge
# wall time (label "timing") run last, alone.
LINT_LOG=$BUILD/lint.log
LINT_JOBS=1 ./scripts/lint.sh "$BUILD" >"$LINT_LOG" 2>&1 &
lint=$!
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:verify_asan_link_order=0}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
status=0
ctest --test-dir "$BUILD" --output-on-failure -j "$(nproc)" -LE timing || status=$?
wait "$lint" || status=$?
cat "$LINT_LOG"
ctest --test-dir "$BUILD" --output-on-failure -L timing || status=$?
exit "$status"
