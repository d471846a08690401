#!/bin/bash
# Crash consistency and write faults, over the representative edits of scenarios.sh.
#
#   ORVCONFIG=build/orvconfig tests/reliability/faults.sh [SCENARIO...]
#
# Per scenario, after a clean run (the exact files changed) and a self-test (the check
# must report each changed file cut in half, an old ".tmp" taken for new, a stray file):
# - kill points: orvconfig killed (SIGKILL injected by strace as the call is entered) at
#   each openat, fcntl, write, ftruncate, fsync, close and unlink in turn; every file then
#   holds its complete old or new version, or its ".tmp" the complete new one, and no lock
#   outlived the run (fcntl is among the kill points, so runs die waiting for or holding
#   a lock);
# - write faults: each write, fsync or ftruncate on a file of the tree fails (ENOSPC, then
#   EIO); the file whose write failed is unchanged and its ".tmp" gone (the ".tmp" failed),
#   or the ".tmp" holds the complete new text (the file itself failed); the matching
#   "Cannot write file" message was printed; status 255 (also where mghost's change
#   scripts go on after "Set %s in %s failed."); nothing lost; no sanitizer report;
# - "ulimit -f 2" with the edited files padded past it: each edit fails at its ".tmp",
#   the files stay byte-identical, no ".tmp" is left.
set -uo pipefail
source "$(dirname "$0")/scenarios.sh"

KILL_CALLS=(openat fcntl write ftruncate fsync close unlink)
FAULT_CALLS=(write fsync ftruncate)
FAULT_ERRNOS=(ENOSPC EIO)

# traced OUT STRACE_ARGS...: one run of the scenario under strace, output in OUT; status.
traced() {
    local out=$1
    shift
    local -a envs
    mapfile -t envs < <(rel_env)
    rel_restore
    # The braces keep the shell's own "Killed" report out of the output.
    { env -i PATH="$PATH" strace -f -qq "$@" "${envs[@]/#/-E}" "$ORVCONFIG" "${REL_ARGS[@]}" \
        </dev/null >"$out" 2>&1; } 2>/dev/null
}

# The calls of a clean run, one "syscall index path" line each (path "-" when the call
# is not on a file of the tree).
list_calls() {
    traced /dev/null -y -o "$W/trace" -e trace="$(IFS=,; echo "${KILL_CALLS[*]}")" ||
        rel_die "the traced clean run failed"
    awk -v root="$T/" '{
        for (i = 1; i <= NF; i++) if ($i ~ /^[a-z0-9_]+\(/) break
        if (i > NF) next
        name = $i; sub(/\(.*/, "", name); n[name]++; path = "-"
        if (match($0, /\(([0-9]+)<[^>]*>/)) {
            p = substr($0, RSTART, RLENGTH); sub(/^\([0-9]+</, "", p); sub(/>$/, "", p)
            if (index(p, root) == 1) path = p
        }
        print name, n[name], path
    }' "$W/trace"
}

FAILS=0
fail() {
    echo "  $CASE: $*"
    sed 's/^/    | /' "$W/out"
    FAILS=$((FAILS + 1))
}

# ---- self-test and kill points ----

check_catches_loss() {
    local rel size
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

kill_points() {
    local call idx
    while read -r call idx _; do
        CASE="$1: killed at $call #$idx"
        traced "$W/out" -o /dev/null -e trace="$call" -e inject="$call:signal=KILL:when=$idx"
        [ $? -eq 137 ] || fail "the process was not killed"
        if ! rel_check_tree >"$W/check" || ! no_stale_lock >>"$W/check"; then fail "$(cat "$W/check")"; fi
        KILLS=$((KILLS + 1))
    done <"$W/calls"
}

# ---- write faults ----

# The index in REL_TRACKED of the file PATH (absolute), or nothing.
tracked_index() {
    local i
    for i in "${!REL_TRACKED[@]}"; do
        [ "$T/${REL_TRACKED[$i]}" = "$1" ] && echo "$i" && return
    done
}

# Whether the failed call on PATH was an edit of one of mghost's change scripts.
declare -A SCRIPT_KEY=([orv.conf]=ORV_WORKDIR= [profile.orv]=ORV_CONFDIR=)
script_edit() {
    [ "${REL_ARGS[0]}" = mghost ] || return 1
    case ${1%.tmp} in */share/kernel/conf/orv.conf | */top/kernel/conf/profile.orv) return 0 ;; esac
    return 1
}

# reported PATTERN PATH: a line of the output matches the sed PATTERN and its group names
# PATH (the messages show paths as formed, with "..", so both are resolved).
reported() {
    local named
    while IFS= read -r named; do
        [ "$(realpath -m "$named")" = "$2" ] && return 0
    done < <(sed -n "s|^$1|\\1|p" "$W/out")
    return 1
}

# before_edit PATH IDX: PATH holds a version of file IDX other than the one the run
# gives, or the file is one that the run does not change.
before_edit() {
    rel_matches_version "$1" "$2" || return 1
    local clean=$W/clean/${REL_TRACKED[$2]}
    cmp -s "$W/pristine/${REL_TRACKED[$2]}" "$clean" || ! cmp -s "$1" "$clean"
}

# check_fault STATUS PATH: the outcome of a run whose write to PATH failed.
check_fault() {
    local status=$1 path=$2 base=${2%.tmp} idx
    idx=$(tracked_index "$base")
    [ -n "$idx" ] || { fail "the failed file $base is not one of the tree's files"; return; }
    if grep -q 'Sanitizer\|runtime error' "$W/out"; then fail "sanitizer report"; fi
    [ "$status" -eq 255 ] || fail "exit status $status, expected 255"
    if script_edit "$path"; then
        grep -qxF -e "Set ${SCRIPT_KEY[${base##*/}]} in $base failed." \
            -e "Error when disposing the config files" "$W/out" ||
            fail "neither the failed edit nor the failed copy of $base reported"
    fi
    if [ "$path" != "$base" ]; then
        reported "Cannot write file \(.*\)\.$" "$path" || fail "no \"Cannot write file $path.\""
        [ -e "$path" ] && fail "$path was left behind"
        before_edit "$base" "$idx" || fail "$base is not its version before the edit"
    else
        if ! reported "Cannot write file \(.*\)\. Its new content is kept in .*\.$" "$base" ||
            ! reported "Cannot write file .*\. Its new content is kept in \(.*\)\.$" "$base.tmp"; then
            fail "no \"Cannot write file $base. Its new content is kept in $base.tmp.\""
        fi
        rel_matches_version "$base.tmp" "$idx" not-old || fail "$base.tmp does not hold the new text"
    fi
    rel_check_tree >"$W/check" || fail "$(cat "$W/check")"
}

write_faults() {
    local call idx path errno
    while read -r call idx path; do
        case " ${FAULT_CALLS[*]} " in *" $call "*) ;; *) continue ;; esac
        [ "$path" != - ] || continue
        for errno in "${FAULT_ERRNOS[@]}"; do
            CASE="$1: $call #$idx ($path) -> $errno"
            traced "$W/out" -o /dev/null -e trace="$call" -e inject="$call:error=$errno:when=$idx"
            check_fault $? "$path"
            FAULTS=$((FAULTS + 1))
        done
    done <"$W/calls"
}

size_limit() {
    local rel status
    local -a padded=() envs
    for rel in "${REL_CHANGED[@]}"; do
        [ -f "$W/pristine/$rel" ] || continue
        for _ in $(seq 100); do echo "# site note: keep this file under version control"; done \
            >>"$W/pristine/$rel"
        padded+=("$rel")
    done
    CASE="$1: ulimit -f 2"
    rel_restore
    mapfile -t envs < <(rel_env)
    (ulimit -f 2 && exec env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" "${REL_ARGS[@]}") \
        </dev/null >"$W/out" 2>&1
    status=$?
    [ "$status" -eq 255 ] || fail "exit status $status, expected 255"
    for rel in "${padded[@]}"; do
        cmp -s "$W/pristine/$rel" "$T/$rel" || fail "$rel changed"
        [ -e "$T/$rel.tmp" ] && fail "$rel.tmp was left behind"
    done
    reported "Cannot write file \(.*\)\.$" "$T/${padded[0]}.tmp" ||
        fail "no \"Cannot write file $T/${padded[0]}.tmp.\""
}

rel_setup_work
[ $# -gt 0 ] || set -- "${REL_SCENARIOS[@]}"
DONE=0 KILLS=0 FAULTS=0
for name in "$@"; do
    rel_scenario "$name"
    rel_clean_run "$name"
    check_catches_loss
    list_calls >"$W/calls"
    k=$KILLS f=$FAULTS
    kill_points "$name"
    write_faults "$name"
    size_limit "$name"
    echo "$name: $((KILLS - k)) kill points, $((FAULTS - f)) write faults, ulimit -f (${#REL_TRACKED[@]} files tracked)"
    DONE=$((DONE + 1))
done
[ "$DONE" -eq $# ] || rel_die "only $DONE of $# scenarios ran to the end"
echo "kill points: $KILLS; write faults: $FAULTS; failed: $FAILS"
[ "$FAILS" -eq 0 ]
