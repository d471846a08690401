#!/bin/bash
# Memory check of end-to-end runs: a representative set of the bats suites runs against a
# build without sanitizers, each orvconfig run under valgrind's memcheck. Any memory error
# or definite leak fails the run (its own exit status, so the suite fails too) and is
# printed from valgrind's log.
#
#   tests/reliability/valgrind_e2e.sh [SUITE...]       (default: the suites below)
#
# ORVCONFIG_PLAIN names a binary built without sanitizers; without it one is built in
# $VALGRIND_BUILD_DIR (default build-valgrind).
set -uo pipefail
cd "$(dirname "$0")/../.." || exit 1

SUITES=(join addresourceattr masterlist unsetmghost)
# The cases of each suite that run under valgrind (a bats --filter on the case names).
FILTER=${VALGRIND_FILTER:-.}

command -v valgrind >/dev/null || { echo "valgrind: not installed, skipped"; exit 0; }
command -v bats >/dev/null || { echo "valgrind: bats not installed, skipped"; exit 0; }

BIN=${ORVCONFIG_PLAIN:-}
if [ -z "$BIN" ]; then
    BUILD=${VALGRIND_BUILD_DIR:-build-valgrind}
    cmake -S . -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DORV_SANITIZE=OFF -DORV_TESTS=OFF \
        >/dev/null || exit 1
    cmake --build "$BUILD" -j2 --target orvconfig >/dev/null || exit 1
    BIN=$(cd "$BUILD" && pwd)/orvconfig
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/orv-valgrind.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/logs"
# The suites run the binary with a cleared environment, so the wrapper carries its paths.
cat >"$work/orvconfig" <<EOF
#!/bin/sh
exec valgrind -q --tool=memcheck --leak-check=full --errors-for-leak-kinds=definite \\
    --error-exitcode=97 --log-file="$work/logs/vg.%p.log" "$BIN" "\$@"
EOF
chmod +x "$work/orvconfig"

[ $# -gt 0 ] || set -- "${SUITES[@]}"
status=0
for suite in "$@"; do
    if ! ORVCONFIG=$work/orvconfig bats --filter "$FILTER" "tests/cli/$suite.bats" >"$work/$suite.out" 2>&1; then
        echo "valgrind: suite $suite failed:"
        grep -v '^ok ' "$work/$suite.out" | head -60
        status=1
    fi
    echo "valgrind: $suite: $(grep -c '^ok ' "$work/$suite.out") cases passed"
done
runs=$(find "$work/logs" -name 'vg.*.log' | wc -l)
errors=0
for log in "$work/logs"/vg.*.log; do
    [ -s "$log" ] || continue
    errors=$((errors + 1))
    echo "valgrind: report of $(basename "$log"):"
    head -80 "$log"
done
echo "valgrind: $runs orvconfig runs checked, $errors with a memory error or definite leak"
[ "$errors" -eq 0 ] && [ "$runs" -gt 0 ] && exit $status
exit 1
