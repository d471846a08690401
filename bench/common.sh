# Shared setup of the benchmark scripts: a Release build of orvconfig, a fixture
# installation tree and the nss_wrapper identity (the same simulation as the tests).
# Sourced by the bench scripts, which read the variables set here.
# shellcheck shell=bash disable=SC2034
set -eu
ROOT=$(cd "$(dirname "$0")/.." && pwd)
"$ROOT/scripts/bootstrap.sh" >/dev/null
if [ -n "${BENCH_ORVCONFIG:-}" ]; then
    ORV=$BENCH_ORVCONFIG  # a binary built elsewhere: the smoke test runs the test build's
else
    BUILD=${BENCH_BUILD_DIR:-$ROOT/build-bench}
    if [ ! -x "$BUILD/orvconfig" ] || [ -z "${BENCH_NO_REBUILD:-}" ]; then
        cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORV_TESTS=OFF >/dev/null
        cmake --build "$BUILD" --target orvconfig >/dev/null
    fi
    ORV=$BUILD/orvconfig
fi
WORK=$(mktemp -d "${TMPDIR:-/tmp}/orvbench.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
NSS_LIB=$(for d in /usr/lib/x86_64-linux-gnu /usr/lib64 /usr/lib; do
    [ -e "$d/libnss_wrapper.so" ] && echo "$d/libnss_wrapper.so" && break; done)
RUNS=${BENCH_RUNS:-10}

# bench_tree DIR: a local-configuration host hostA (master of cluster1, admin orvadmin).
bench_tree() {
    local t=$1
    mkdir -p "$t/top/kernel/conf" "$t/nss" "$t/top/oservice/osc/conf/services"
    printf 'orvadmin:x:%s:%s::/nonexistent:/bin/sh\n' "$(id -u)" "$(id -g)" >"$t/nss/passwd"
    printf 'orvgrp:x:%s:\n' "$(id -g)" >"$t/nss/group"
    printf '127.0.0.1 localhost\n10.0.0.1 hostA.lab.local hostA\n' >"$t/nss/hosts"
    printf 'Begin Cluster\nClusterName\ncluster1\nEnd Cluster\n' >"$t/top/kernel/conf/orv.shared"
    cat >"$t/top/kernel/conf/orv.cluster.cluster1" <<'C'
Begin ClusterAdmins
Administrators = orvadmin
End ClusterAdmins

Begin Host
HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
hostA     !        !           1      -    -    -   (linux mg)
End Host
C
}

# bench_env DIR: the environment line that runs orvconfig in the tree as hostA (the last
# two settings matter only to a sanitizer build, such as the one the smoke test runs).
bench_env() {
    local t=$1
    echo "LD_PRELOAD=$NSS_LIB NSS_WRAPPER_PASSWD=$t/nss/passwd NSS_WRAPPER_GROUP=$t/nss/group" \
        "NSS_WRAPPER_HOSTS=$t/nss/hosts NSS_WRAPPER_HOSTNAME=hostA ORV_TOP=$t/top" \
        "ORV_CONFDIR=$t/top/kernel/conf ORV_LOCAL_CONFDIR=$t/top/kernel/conf" \
        "NSS_WRAPPER_DISABLE_DEEPBIND=1 ASAN_OPTIONS=verify_asan_link_order=0"
}

# mean_of JSON: mean seconds of each command of a hyperfine JSON export, one per line.
mean_of() {
    python3 -c 'import json,sys; [print(r["mean"]) for r in json.load(open(sys.argv[1]))["results"]]' "$1"
}
