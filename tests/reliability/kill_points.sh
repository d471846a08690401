#!/bin/bash
# Crash consistency: for every representative edit, kills orvconfig at each write-side
# system call in turn (SIGKILL delivered by strace as the call is entered) and checks that
# no configuration file was lost: each holds its complete old or new version, or its
# ".tmp" holds the complete new one; and that no lock outlived the killed run (fcntl is
# among the kill points, so runs are also killed while they wait for or hold a lock).
#
#   ORVCONFIG=build/orvconfig tests/reliability/kill_points.sh [SCENARIO...]
#
# Prints the kill points tried per scenario and system call, and the losses found; fails
# on any loss, on a stray file, or when a kill point did not kill the process.
set -uo pipefail
source "$(dirname "$0")/scenarios.sh"

SYSCALLS=(openat fcntl write ftruncate fsync close unlink)

# count_calls: the number of calls of each traced system call in a clean run, printed as
# "name count" lines.
count_calls() {
    local -a envs
    mapfile -t envs < <(rel_env)
    rel_restore
    env -i PATH="$PATH" strace -f -qq -o "$W/trace" -e trace="$(IFS=,; echo "${SYSCALLS[*]}")" \
        "${envs[@]/#/-E}" "$ORVCONFIG" "${REL_ARGS[@]}" </dev/null >/dev/null 2>&1 ||
        rel_die "the traced clean run failed"
    awk '{ for (i = 1; i <= NF; i++) if ($i ~ /^[a-z0-9_]+\(/) { sub(/\(.*/, "", $i); n[$i]++; break } }
         END { for (s in n) print s, n[s] }' "$W/trace"
}

# kill_at SYSCALL N: one run killed at the N-th call of SYSCALL; succeeds when the process
# died of SIGKILL. (strace injects only into calls that it traces, hence the trace set
# with its output discarded.)
kill_at() {
    local -a envs
    mapfile -t envs < <(rel_env)
    rel_restore
    # The braces keep the shell's own "Killed" report out of the output.
    { env -i PATH="$PATH" strace -f -qq -o /dev/null -e trace="$1" -e inject="$1:signal=KILL:when=$2" \
        "${envs[@]/#/-E}" "$ORVCONFIG" "${REL_ARGS[@]}" </dev/null >"$W/out" 2>&1; } 2>/dev/null
    [ $? -eq 137 ]
}

# The check itself must catch a loss: each changed file cut in half, with and without a
# ".tmp" that holds only the old text, is reported.
check_catches_loss() {
    local rel
    for rel in "${REL_CHANGED[@]}"; do
        rel_restore
        mkdir -p "$(dirname "$T/$rel")"
        [ -f "$T/$rel" ] || cp "$W/clean/$rel" "$T/$rel"
        size=$(wc -c <"$T/$rel")
        head -c $((size / 2)) "$W/clean/$rel" >"$T/$rel"
        rel_check_tree >/dev/null && rel_die "the check missed a half-written $rel"
        [ -f "$W/pristine/$rel" ] && cp "$W/pristine/$rel" "$T/$rel.tmp"
        rel_check_tree >/dev/null && rel_die "the check took an old .tmp for $rel as new"
    done
    rel_restore
    echo "stray" >"$T/top/kernel/conf/stray.conf"
    rel_check_tree >/dev/null && rel_die "the check missed a stray file"
    return 0
}

# A killed run leaves no lock behind: every changed file can be locked at once.
PYTHON=$(command -v /usr/bin/python3 || command -v python3)
no_stale_lock() {
    "$PYTHON" - "$T" "${REL_CHANGED[@]}" <<'PY'
import fcntl, os, sys
for rel in sys.argv[2:]:
    path = os.path.join(sys.argv[1], rel)
    if os.path.isfile(path):
        try:
            fcntl.lockf(open(path, "r+"), fcntl.LOCK_EX | fcntl.LOCK_NB)
        except OSError:
            sys.exit("    %s is still locked" % rel)
PY
}

TOTAL=0 LOSSES=0 SURVIVED=0 DONE=0
run_scenario() {
    local name=$1 s n count line tried=0
    rel_scenario "$name"
    rel_clean_run "$name"
    check_catches_loss
    local counts
    counts=$(count_calls)
    line="$name:"
    for s in "${SYSCALLS[@]}"; do
        count=$(awk -v s="$s" '$1 == s { print $2 }' <<<"$counts")
        count=${count:-0}
        for ((n = 1; n <= count; n++)); do
            if ! kill_at "$s" "$n"; then
                echo "  $name: $s #$n did not kill the process"
                SURVIVED=$((SURVIVED + 1))
            fi
            if ! rel_check_tree >"$W/check" || ! no_stale_lock >>"$W/check"; then
                echo "  $name: killed at $s #$n:"
                sed 's/^/    /' "$W/check"
                LOSSES=$((LOSSES + 1))
            fi
        done
        line+=" $s=$count"
        tried=$((tried + count))
    done
    TOTAL=$((TOTAL + tried))
    DONE=$((DONE + 1))
    echo "$line ($tried kill points, ${#REL_TRACKED[@]} files tracked)"
}

rel_setup_work
[ $# -gt 0 ] || set -- "${REL_SCENARIOS[@]}"
for name in "$@"; do run_scenario "$name"; done
echo "kill points tried: $TOTAL; runs with a lost file: $LOSSES; kill points not reached: $SURVIVED"
[ "$DONE" -eq $# ] || rel_die "only $DONE of $# scenarios ran to the end"
[ "$LOSSES" -eq 0 ] && [ "$SURVIVED" -eq 0 ]
