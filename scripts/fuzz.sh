#!/bin/sh
# Builds the libFuzzer targets with clang and runs each one for FUZZ_SECONDS (default 5)
# from its seed corpus (copied, so the repository's corpus is not changed).
# FUZZ_SECONDS=600 ./scripts/fuzz.sh gives a longer run; the exec counts are printed.
set -eu
cd "$(dirname "$0")/.."
SECONDS_PER_TARGET=${FUZZ_SECONDS:-5}
BUILD=${FUZZ_BUILD_DIR:-build-fuzz}
command -v clang++ >/dev/null || { echo "fuzz: clang++ not installed, skipped"; exit 0; }
CXX=clang++ cmake -S . -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORV_FUZZ=ON \
    -DORV_TESTS=OFF >/dev/null
cmake --build "$BUILD" --target fuzzers >/dev/null
BUILD=$(cd "$BUILD" && pwd)
work=$(mktemp -d)
# Scratch files of the file-based targets go to memory where possible: every rewrite
# fsyncs, which would otherwise dominate the run.
scratch=$(mktemp -d "$( [ -d /dev/shm ] && echo /dev/shm || echo /tmp)/orvfuzz.XXXXXX")
trap 'rm -rf "$work" "$scratch"' EXIT
status=0
for corpus in tests/fuzz/corpus/*/; do
    name=$(basename "$corpus")
    mkdir -p "$work/$name"
    cp "$corpus"* "$work/$name/"
    if ! (cd "$work" && TMPDIR=$scratch ASAN_OPTIONS=detect_leaks=1 "$BUILD/tests/fuzz/$name" \
        -max_total_time="$SECONDS_PER_TARGET" -max_len=65536 -print_final_stats=1 \
        "$work/$name" >"$work/$name.log" 2>&1); then
        echo "fuzz: $name FAILED"; tail -40 "$work/$name.log"; status=1
    else
        execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$name.log")
        echo "fuzz: $name ok, $execs execs in ${SECONDS_PER_TARGET}s"
    fi
done
exit $status
