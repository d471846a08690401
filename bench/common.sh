# Shared setup of the benchmark scripts: a Release build of orvconfig and the fixture trees
# and nss_wrapper identities of the end-to-end suites.
# Sourced by the bench scripts, which read the variables set here.
# shellcheck shell=bash disable=SC2034
set -eu
ROOT=$(cd "$(dirname "$0")/.." && pwd)
# First the packages and the Release build, then the bench itself again, in a network
# namespace of its own where the machine allows one (tests/hermetic.sh): no lookup of a bench
# leaves the machine.
if [ -z "${ORV_HERMETIC:-}" ]; then
    "$ROOT/scripts/bootstrap.sh" >/dev/null
    if [ -z "${BENCH_ORVCONFIG:-}" ]; then
        BUILD=${BENCH_BUILD_DIR:-$ROOT/build-bench}
        if [ ! -x "$BUILD/orvconfig" ] || [ -z "${BENCH_NO_REBUILD:-}" ]; then
            cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORV_TESTS=OFF >/dev/null
            cmake --build "$BUILD" --target orvconfig >/dev/null
        fi
        BENCH_ORVCONFIG=$BUILD/orvconfig
    fi
    export BENCH_ORVCONFIG
    exec "$ROOT/tests/hermetic.sh" "$0" "$@"
fi
ORV=$BENCH_ORVCONFIG  # the Release build, or a binary built elsewhere (the smoke test's)
WORK=$(mktemp -d "${TMPDIR:-/tmp}/orvbench.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
RUNS=${BENCH_RUNS:-10}

# The fixture trees of the end-to-end suites (tests/cli/helpers.bash), run against $ORV.
# A prerequisite that they miss ends the bench.
skip() { echo "bench/${0##*/}: $*" >&2; exit 1; }
ORVCONFIG=$ORV
# shellcheck source=../tests/cli/helpers.bash
. "$ROOT/tests/cli/helpers.bash"

# fresh NAME: an empty case directory, as the suites start each case.
fresh() {
    FIXTURE_DIR=$WORK/$1
    mkdir -p "$FIXTURE_DIR"
    unset ORV_CONFDIR_DIR ORV_LOCAL_CONFDIR_DIR ORV_TOP_DIR VOS_ENVDIR_DIR
}

# stat_of NAME JSON: that statistic (mean, median, ...) in seconds of each command of a
# hyperfine JSON export, one per line. Hyperfine writes one field per line; awk reads it
# in a millisecond where the python3 of some machines takes a second to start.
stat_of() {
    awk -v key="\"$1\":" '$1 == key { printf "%.9g\n", $2 }' "$2"
}
