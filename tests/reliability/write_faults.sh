#!/bin/bash
# Disk full, I/O errors and the file-size limit: the representative edits run with one
# write, fsync or ftruncate failing in turn (ENOSPC, then EIO, injected by strace), and
# once under a small "ulimit -f" with the edited files padded past it.
#
#   ORVCONFIG=build/orvconfig tests/reliability/write_faults.sh [SCENARIO...]
#
# After every fault: the file whose write failed is unchanged and its ".tmp" gone (the
# ".tmp" failed), or the ".tmp" holds the complete new text (the file itself failed); the
# matching "Cannot write file" message was printed; the run failed with status 255 (also
# where the command goes on past the edit, as mghost's change scripts do after their
# "Set %s in %s failed."); no file of the tree was lost; no sanitizer report.
set -uo pipefail
source "$(dirname "$0")/scenarios.sh"

FAULT_CALLS=(write fsync ftruncate)
FAULT_ERRNOS=(ENOSPC EIO)

# The calls of a clean run on files of the tree, one "syscall index path" line each.
list_file_calls() {
    local -a envs
    mapfile -t envs < <(rel_env)
    rel_restore
    env -i PATH="$PATH" strace -f -qq -y -o "$W/trace" -e trace="$(IFS=,; echo "${FAULT_CALLS[*]}")" \
        "${envs[@]/#/-E}" "$ORVCONFIG" "${REL_ARGS[@]}" </dev/null >/dev/null 2>&1 ||
        rel_die "the traced clean run failed"
    awk -v root="$T/" '{
        for (i = 1; i <= NF; i++) if ($i ~ /^[a-z0-9_]+\(/) break
        name = $i; sub(/\(.*/, "", name); n[name]++
        if (match($0, /\(([0-9]+)<[^>]*>/)) {
            path = substr($0, RSTART, RLENGTH); sub(/^\([0-9]+</, "", path); sub(/>$/, "", path)
            if (index(path, root) == 1) print name, n[name], path
        }
    }' "$W/trace"
}

# The index in REL_TRACKED of the file PATH (absolute), or nothing.
tracked_index() {
    local i
    for i in "${!REL_TRACKED[@]}"; do
        [ "$T/${REL_TRACKED[$i]}" = "$1" ] && echo "$i" && return
    done
}

# Whether the failed call on PATH was made by a change script of mghost (a copy ends the
# script, an edit is reported and the script goes on).
script_edit() {
    [ "${REL_ARGS[0]}" = mghost ] || return 1
    case ${1%.tmp} in
        */share/kernel/conf/orv.conf | */top/kernel/conf/profile.orv) return 0 ;;
    esac
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

FAILS=0
fail() {
    echo "  $CASE: $*"
    sed 's/^/    | /' "$W/out"
    FAILS=$((FAILS + 1))
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

declare -A SCRIPT_KEY=([orv.conf]=ORV_WORKDIR= [profile.orv]=ORV_CONFDIR=)

TRIED=0
inject_faults() {
    local name=$1 call idx path errno status
    local -a envs
    mapfile -t envs < <(rel_env)
    while read -r call idx path; do
        for errno in "${FAULT_ERRNOS[@]}"; do
            CASE="$name: $call #$idx ($path) -> $errno"
            rel_restore
            env -i PATH="$PATH" strace -f -qq -o /dev/null -e trace="$call" \
                -e inject="$call:error=$errno:when=$idx" "${envs[@]/#/-E}" \
                "$ORVCONFIG" "${REL_ARGS[@]}" </dev/null >"$W/out" 2>&1
            status=$?
            check_fault "$status" "$path"
            TRIED=$((TRIED + 1))
        done
    done < <(list_file_calls)
}

tree_sums() {
    (cd "$1" && find . -type f -print0 | LC_ALL=C sort -z | xargs -0 sha256sum)
}

# Under "ulimit -f 2" (2 KiB) with every edited file that exists beforehand padded to
# about 4 KiB: each such edit fails at its ".tmp" (the limit's signal is not fatal), so
# the padded files stay byte-identical, with no ".tmp" left beside them.
size_limit() {
    local name=$1 rel status
    local -a padded=()
    for rel in "${REL_CHANGED[@]}"; do
        [ -f "$W/pristine/$rel" ] || continue
        for _ in $(seq 100); do echo "# site note: keep this file under version control"; done \
            >>"$W/pristine/$rel"
        padded+=("$rel")
    done
    CASE="$name: ulimit -f 2"
    rel_restore
    local -a envs
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
    TRIED=$((TRIED + 1))
}

rel_setup_work
[ $# -gt 0 ] || set -- "${REL_SCENARIOS[@]}"
DONE=0
for name in "$@"; do
    rel_scenario "$name"
    rel_clean_run "$name"
    before=$TRIED
    inject_faults "$name"
    size_limit "$name"
    echo "$name: $((TRIED - before)) fault cases"
    DONE=$((DONE + 1))
done
[ "$DONE" -eq $# ] || rel_die "only $DONE of $# scenarios ran to the end"
echo "write fault cases tried: $TRIED; failed: $FAILS"
[ "$FAILS" -eq 0 ]
