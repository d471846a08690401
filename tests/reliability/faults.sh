#!/bin/bash
# Crash consistency and write faults over a table of representative edits (scenario below).
#   ORVCONFIG=build/orvconfig tests/reliability/faults.sh [SCENARIO...]
# Per scenario, after a clean run (exactly the files listed change) and a self-test of the
# check (a changed file cut in half, an old ".tmp", a stray file must all be reported):
# - SIGKILL at each openat, fcntl, write, ftruncate, fsync, close and unlink in turn: every
#   file holds a complete version (old, new, or the copy an edited copy was made from) or
#   its ".tmp" a complete one that is not the old, and no lock outlived the run; the undo of
#   the killed run's record either refuses, writing nothing, or gives every file back as it
#   was before the run;
# - ENOSPC, then EIO, on each write, fsync and ftruncate of a file of the tree: status 255,
#   no sanitizer report, "Cannot write file" naming what failed; a failed ".tmp" is gone and
#   its file as before the edit, a failed file has its new text in its ".tmp"; nothing lost;
# - "ulimit -f 2" with the edited files padded past it: status 255, files unchanged, no ".tmp".
# The fallocate that reserves a file's new length is a kill point too; failing it with ENOSPC
# or EIO leaves the file as before, the ".tmp" gone and "Cannot write file" naming the file;
# with EOPNOTSUPP the edit is made as usual.
# Scenario "tmpfs": a growing edit of a key file and of an XML profile on a 64 KiB tmpfs filled
# to each free-space level from none to what the edit needs: the file is always its old or its
# new bytes, and the status and messages say which. It mounts the tmpfs in a private mount
# namespace (as root), and is skipped with a message where that is not allowed.
set -uo pipefail
source "$(dirname "$0")/../cli/helpers.bash"
if ! command -v strace >/dev/null || [ -z "$NSS_WRAPPER_LIB" ]; then echo "strace or libnss-wrapper missing" && exit 77; fi
[ -x "${ORVCONFIG:-}" ] || { echo "set ORVCONFIG to the orvconfig binary" >&2; exit 2; }
# A mount namespace of the driver's own, so that the tmpfs is seen by nothing else and
# vanishes with the run.
if [ -z "${ORV_FAULTS_PRIVATE_MOUNTS:-}" ] && [ "$(id -u)" -eq 0 ] && unshare -m true 2>/dev/null; then
    ORV_FAULTS_PRIVATE_MOUNTS=1 exec unshare -m --propagation private "$0" "$@"
fi
W=$(mktemp -d) && trap 'umount "$W/fs" 2>/dev/null; rm -rf "$W"' EXIT
FIXTURE_DIR=$W PY=$(command -v /usr/bin/python3 python3 | head -1) FAILS=0 KILLS=0 FAULTS=0 TORN=0 UNDONE=0 REFUSED=0

# scenario NAME: lays out $T and sets ARGS, CHANGED (the files a clean run changes) and VIA
# ("copy=source": a file made as a copy of source, then edited).
scenario() {
    rm -rf "$W/t" && orv_setup_tree && VIA=()
    case $1 in
        masterlist) # orv.conf rewritten once
            sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostA hostB"/' "$CONF/orv.conf"
            sed -i '/^HOSTNAME/a hostA     !    !   1   -   -   -    (mg linux)\nhostB     !    !   1   -   -   -    (mg linux)' \
                "$CONF/orv.cluster.cluster1"
            ARGS=(masterlist "hostB,hostA") CHANGED=(top/kernel/conf/orv.conf) ;;
        hdfsport) # one XML value in the only profile present
            printf '<?xml version="1.0"?>\n<Service name="NameNode">\n    <EnvVar name="HOV_HDFS_PORT">8020</EnvVar>\n</Service>\n' \
                >"$TOP/oservice/osc/conf/services/namenode.xml"
            ARGS=(hovhdfsport set "$PORT") CHANGED=(top/oservice/osc/conf/services/namenode.xml) ;;
        join) # a new cluster: three files rewritten once each
            sed -i '/^ORV_GET_CONF=/d' "$CONF/orv.conf"
            ARGS=(join hostA -f) CHANGED=(top/kernel/conf/{orv.conf,orv.cluster.cluster1,ResourceGroups.xml}) ;;
        resources) # new tags merged into an existing key
            sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB"/' "$CONF/orv.conf"
            echo 'ORV_LOCAL_RESOURCES="[resource a]" # site tags' >>"$CONF/orv.conf"
            ARGS=(addresourceattr "[resource scvg] [resourcemap 4*mem]") CHANGED=(top/kernel/conf/orv.conf) ;;
        mghost) # the master: four files copied, the shared orv.conf and the local profile edited
            mg_write_host_conf "$CONF" "$TOP" "hostA hostB"
            mg_product "$TOP" '' '' "$TOP" "$(for f in orv.conf orv.shared orv.cluster.@CLUSTERNAME@ ResourceGroups.xml; do
                echo "file|@ORV_CONFDIR@/$f|@SHARETOP@/kernel/conf/$f|Y"; done)" \
                'replacestring|@SHARETOP@/kernel/conf/orv.conf|ORV_WORKDIR=|ORV_WORKDIR=@SHARETOP@/kernel/work' \
                'replaceline|@ORV_CONFDIR@/profile.orv|ORV_CONFDIR=|ORV_CONFDIR=@SHARETOP@/kernel/conf'
            echo '# installed products' >"$TOP/.install/head.conf"
            ARGS=(mghost "$SHARE" -f) CHANGED=(top/kernel/conf/profile.orv share/kernel/conf/{orv.conf,orv.shared,orv.cluster.cluster1,ResourceGroups.xml})
            for f in orv.conf orv.cluster.cluster1 ResourceGroups.xml; do VIA+=("share/kernel/conf/$f=top/kernel/conf/$f"); done ;;
    esac
    rm -rf "$W/old" && cp -a "$T" "$W/old"
}
restore() { rm -rf "$T" "$T.state" && cp -a "$W/old" "$T"; }
# traced OUT STRACE_ARGS...: one run under strace from the pristine tree; its status.
traced() {
    local out=$1 envs
    shift && restore && mapfile -t envs < <(orv_env | sed 's/^ASAN_OPTIONS=.*/ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0/')
    { env -i PATH="$PATH" strace -f -qq "$@" "${envs[@]/#/-E}" "$ORVCONFIG" "${ARGS[@]}" </dev/null >"$out" 2>&1; } 2>/dev/null
}
files() { (cd "$1" && find . -type f ! -path './nss/*' ! -name '*.tmp' | sed 's|^\./||' | LC_ALL=C sort); }
# same PATH REF: both absent, or both files with the same bytes.
same() { if [ -e "$2" ]; then [ -f "$1" ] && cmp -s "$1" "$2"; else [ ! -e "$1" ]; fi; }
# version PATH REL [not-old]: PATH holds a version of REL.
version() {
    local v
    for v in new ${3:-old} $(printf '%s\n' "${VIA[@]}" | sed -n "s|^$2=||p"); do
        case $v in new) same "$1" "$W/new/$2" ;; old) same "$1" "$W/old/$2" ;; *) same "$1" "$W/old/$v" ;; esac && return 0
    done
    return 1
}
# before_edit PATH REL: PATH holds a version of REL other than the new one, or REL does not change.
before_edit() { version "$1" "$2" && { ! same "$1" "$W/new/$2" || same "$W/old/$2" "$W/new/$2"; }; }
check_tree() {
    local f bad=0
    for f in "${TRACKED[@]}"; do
        version "$T/$f" "$f" || { [ -f "$T/$f.tmp" ] && version "$T/$f.tmp" "$f" not-old; } || { echo "LOST: $f"; bad=1; }
    done
    for f in $(files "$T"); do [[ " ${TRACKED[*]} " == *" $f "* ]] || { echo "STRAY: $f"; bad=1; }; done
    return $bad
}
# undo_killed: undoes the newest record (a killed run's): refused with the tree untouched,
# or every file as before the run.
undo_killed() {
    local id envs st
    id=$(find "$T.state/journal" -mindepth 1 -maxdepth 1 -printf '%f\n' 2>/dev/null | LC_ALL=C sort | tail -n 1)
    [ -n "$id" ] || return 0
    rm -rf "$W/killed" && cp -a "$T" "$W/killed" && mapfile -t envs < <(orv_env)
    env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" undo "$id" -f </dev/null >"$W/check" 2>&1
    st=$?
    if [ $st -ne 0 ]; then REFUSED=$((REFUSED + 1)) && [ $st -eq 255 ] && diff -r "$W/killed" "$T" >>"$W/check"; return; fi
    UNDONE=$((UNDONE + 1))
    [ "$(files "$T")" = "$(files "$W/old")" ] || return 1
    for f in $(files "$T"); do same "$T/$f" "$W/old/$f" || { echo "not as before: $f" >>"$W/check"; return 1; }; done
}
fail() { echo "  $CASE: $*" && sed 's/^/    | /' "$W/out" && FAILS=$((FAILS + 1)); }
# reported PATTERN PATH: an output line matches PATTERN and its \1 names PATH (resolved).
reported() { sed -n "s|^$1|\\1|p" "$W/out" | while read -r p; do [ "$(realpath -m "$p")" = "$2" ] && echo y; done | grep -q y; }

# ---- A real full disk: a small tmpfs filled to each free-space level ----
# fill_to PAGES: the tmpfs at $FS keeps exactly PAGES pages free beside its filler file.
fill_to() {
    local size
    rm -f "$FS/filler" && size=$(($(stat -f -c '%a * %S' "$FS") - $1 * 4096))
    [ "$size" -eq 0 ] || fallocate -l "$size" "$FS/filler" 2>/dev/null || head -c "$size" /dev/zero >"$FS/filler"
    [ $(($(stat -f -c '%a * %S' "$FS"))) -eq $(($1 * 4096)) ] || { echo "tmpfs: cannot leave $1 pages free" >&2; exit 2; }
}
# pages FILE: the 4 KiB pages FILE takes on the tmpfs.
pages() { echo $((($(wc -c <"$1") + 4095) / 4096)); }
# tmpfs_edit NAME: lays out a tree on the tmpfs whose file $REL grows by one byte across a page
# boundary, then runs the edit at every free-space level from none to the first that suffices
# and one past it.
tmpfs_edit() {
    local free need old new file expect open close status f
    FIXTURE_DIR=$FS && rm -rf "$FS/t" "$FS/filler" && orv_setup_tree
    case $1 in
        setbaseport) # orv.conf with one port key: a five-digit base port makes it one byte longer
            sed -i '/^ORV_\(KD\|PEM\)_PORT=/d' "$CONF/orv.conf"
            REL=top/kernel/conf/orv.conf ARGS=(setbaseport "$PORT") open='#' close=''
            FAILED=("Set ORV_LIM_PORT in $PORT failed." "Command failed." "Command failed.")
            DONE=("Communication ports have been changed. The new base port is $PORT.") ;;
        hdfsport) # the port of the only profile present, from four digits to five
            REL=top/oservice/osc/conf/services/namenode.xml ARGS=(hovhdfsport set "$PORT") open='<!-- ' close=' -->'
            printf '<?xml version="1.0"?>\n<Service name="NameNode">\n    <EnvVar name="HOV_HDFS_PORT">8020</EnvVar>\n</Service>\n' >"$T/$REL"
            FAILED=("Set HOV_HDFS_PORT in $PORT failed." "Command failed." "Command failed.")
            DONE=("Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is $PORT.") ;;
    esac
    file=$T/$REL CASE="tmpfs $1"
    # Three whole pages: the new text needs a fourth.
    printf '%s%s%s\n' "$open" "$(head -c $((12288 - $(wc -c <"$file") - ${#open} - ${#close} - 1)) /dev/zero | tr '\0' x)" "$close" >>"$file"
    rm -rf "$W/old" "$W/new" && cp -a "$T" "$W/old" && mapfile -t envs < <(orv_env)
    envs+=("ORVCONFIG_STATE_DIR=$W/state") # the journal off the small disk: only the edit fills it
    env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" "${ARGS[@]}" </dev/null >"$W/out" 2>&1 || { fail "the clean run failed" && return; }
    cp -a "$T" "$W/new"
    for f in $( (files "$W/old"; files "$W/new") | LC_ALL=C sort -u); do
        [ "$f" = "$REL" ] || same "$W/new/$f" "$W/old/$f" || { fail "the clean run changed $f" && return; }
    done
    old=$(pages "$W/old/$REL") new=$(pages "$W/new/$REL") && need=$((new + new - old))
    [ "$new" -gt "$old" ] || { fail "the edit does not grow $REL by a page" && return; }
    for free in $(seq 0 $((need + 1))); do
        CASE="tmpfs $1: $free of $need pages free" && rm -rf "$T" && cp -a "$W/old" "$T" && fill_to "$free"
        env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" "${ARGS[@]}" </dev/null >"$W/out" 2>&1
        status=$? LEVELS=$((LEVELS + 1))
        # The ".tmp" takes the new length first; the file's growth then needs the rest.
        if [ "$free" -ge "$need" ]; then expect=$(printf '%s\n' "${DONE[@]}")
        elif [ "$free" -ge "$new" ]; then expect=$(printf '%s\n' "Cannot write file $file." "${FAILED[@]}")
        else expect=$(printf '%s\n' "Cannot write file $file.tmp." "${FAILED[@]}"); fi
        if same "$file" "$W/new/$REL"; then [ $status -eq 0 ] || fail "new text, status $status"
        elif same "$file" "$W/old/$REL"; then [ $status -eq 255 ] || fail "old text, status $status"
        else TORN=$((TORN + 1)) && fail "torn: $(wc -c <"$file") bytes"; fi
        [ "$(sed "s|^Cannot write file .*/conf/\.\./\.\./|Cannot write file $T/top/|" "$W/out")" = "$expect" ] || fail "not the expected messages"
        [ ! -e "$file.tmp" ] || fail "$REL.tmp was left"
    done
    echo "tmpfs $1: $((need + 2)) free-space levels, ${old} pages growing to ${new}"
}
tmpfs_case() {
    FS=$W/fs LEVELS=0 && mkdir -p "$FS"
    if [ -z "${ORV_FAULTS_PRIVATE_MOUNTS:-}" ] || ! mount -t tmpfs -o size=64k orvfaults "$FS" 2>/dev/null; then
        echo "tmpfs: skipped, no tmpfs can be mounted here (root and a private mount namespace are needed)"
        return 0
    fi
    tmpfs_edit setbaseport
    tmpfs_edit hdfsport
    umount "$FS"
    echo "tmpfs: $LEVELS runs, torn files: $TORN"
}

PORT=$(orv_free_base 1) || exit 2
[ $# -gt 0 ] || set -- masterlist hdfsport join resources mghost tmpfs
for name in "$@"; do
    [ "$name" != tmpfs ] || { tmpfs_case && continue; }
    scenario "$name"
    traced "$W/out" -y -o "$W/trace" -e trace=openat,fcntl,write,fallocate,ftruncate,fsync,close,unlink || { cat "$W/out"; exit 2; }
    rm -rf "$W/new" && cp -a "$T" "$W/new"
    mapfile -t TRACKED < <( (files "$W/old"; files "$W/new") | LC_ALL=C sort -u)
    changed=$(for f in "${TRACKED[@]}"; do same "$W/old/$f" "$W/new/$f" || echo "$f"; done)
    [ "$changed" = "$(printf '%s\n' "${CHANGED[@]}" | LC_ALL=C sort)" ] || { echo "$name: the clean run changed [$changed]"; exit 2; }
    for f in "${CHANGED[@]}"; do # self-test: a half-written file, an old .tmp, a stray file
        restore && mkdir -p "$(dirname "$T/$f")" && head -c $(($(wc -c <"$W/new/$f") / 2)) "$W/new/$f" >"$T/$f"
        check_tree >/dev/null && { echo "the check missed a half-written $f"; exit 2; }
        [ -f "$W/old/$f" ] && cp "$W/old/$f" "$T/$f.tmp" && check_tree >/dev/null && { echo "the check took an old .tmp for $f"; exit 2; }
    done
    restore && echo stray >"$T/top/kernel/conf/stray.conf" && check_tree >/dev/null && { echo "the check missed a stray file"; exit 2; }
    # One "call index path" line per call of the clean run (path "-" when not a file of the tree).
    awk -v root="$T/" '{ for (i = 1; i <= NF && $i !~ /^[a-z0-9_]+\(/; i++); if (i > NF) next
        name = $i; sub(/\(.*/, "", name); p = "-"
        if (match($0, /\([0-9]+<[^>]*>/)) { p = substr($0, RSTART, RLENGTH); sub(/^\([0-9]+</, "", p); sub(/>$/, "", p) }
        print name, ++n[name], index(p, root) == 1 ? p : "-" }' "$W/trace" >"$W/calls"
    k0=$KILLS f0=$FAULTS
    while read -r call idx path; do
        CASE="$name: killed at $call #$idx"
        traced "$W/out" -o /dev/null -e trace="$call" -e inject="$call:signal=KILL:when=$idx"
        [ $? -eq 137 ] || fail "the process was not killed"
        check_tree >"$W/check" || fail "$(cat "$W/check")"
        "$PY" -c 'import fcntl, os, sys
for p in sys.argv[1:]:
    if os.path.isfile(p): fcntl.lockf(open(p, "r+"), fcntl.LOCK_EX | fcntl.LOCK_NB)' "${CHANGED[@]/#/$T/}" 2>/dev/null ||
            fail "a lock outlived the run"
        undo_killed || fail "the undo of the killed run's record: $(cat "$W/check")"
        KILLS=$((KILLS + 1))
        [[ " write fallocate fsync ftruncate " == *" $call "* && $path != - ]] || continue
        errnos=(ENOSPC EIO) && [ "$call" != fallocate ] || errnos+=(EOPNOTSUPP)
        for errno in "${errnos[@]}"; do
            CASE="$name: $call #$idx ($path) -> $errno" base=${path%.tmp} rel=${path#"$T/"} FAULTS=$((FAULTS + 1))
            traced "$W/out" -o /dev/null -e trace="$call" -e inject="$call:error=$errno:when=$idx"
            status=$?
            if [ "$errno" = EOPNOTSUPP ]; then # a file system that cannot reserve: the edit as usual
                [ $status -eq 0 ] || fail "exit status $status"
                for f in "${TRACKED[@]}"; do same "$T/$f" "$W/new/$f" || fail "$f is not its new text"; done
                continue
            fi
            [ $status -eq 255 ] || fail "exit status other than 255"
            ! grep -q 'Sanitizer\|runtime error' "$W/out" || fail "sanitizer report"
            if [ "${ARGS[0]}" = mghost ] && [[ $base == */share/kernel/conf/orv.conf || $base == */profile.orv ]]; then
                grep -q "^Set .* in $base failed\.$\|^Error when disposing the config files$" "$W/out" || fail "the failed edit not reported"
            fi
            if [ "$call" = fallocate ]; then
                reported "Cannot write file \(.*\)\.$" "$path" || fail "no \"Cannot write file $path.\""
                [ ! -e "$path.tmp" ] || fail "$path.tmp was left behind"
                before_edit "$path" "$rel" || fail "$path is not a version from before the edit"
            elif [ "$path" != "$base" ]; then
                reported "Cannot write file \(.*\)\.$" "$path" || fail "no \"Cannot write file $path.\""
                [ ! -e "$path" ] || fail "$path was left behind"
                before_edit "$base" "${rel%.tmp}" || fail "$base is not a version from before the edit"
            else
                reported "Cannot write file \(.*\)\. Its new content is kept in .*\.$" "$base" || fail "no \"... kept in $base.tmp.\""
                version "$base.tmp" "$rel" not-old || fail "$base.tmp does not hold the new text"
            fi
            check_tree >"$W/check" || fail "$(cat "$W/check")"
        done
    done <"$W/calls"
    CASE="$name: ulimit -f 2"
    for f in "${CHANGED[@]}"; do [ ! -f "$W/old/$f" ] || seq -f '# site note %g: keep this file under version control' 100 >>"$W/old/$f"; done
    restore && mapfile -t envs < <(orv_env)
    (ulimit -f 2 && exec env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" "${ARGS[@]}") </dev/null >"$W/out" 2>&1
    [ $? -eq 255 ] || fail "exit status other than 255"
    for f in "${CHANGED[@]}"; do [ ! -f "$W/old/$f" ] || { same "$T/$f" "$W/old/$f" && [ ! -e "$T/$f.tmp" ]; } || fail "$f changed or its .tmp left"; done
    reported "Cannot write file \(.*\)\.$" "$T/${CHANGED[0]}.tmp" || fail "no \"Cannot write file $T/${CHANGED[0]}.tmp.\""
    echo "$name: $((KILLS - k0)) kill points, $((FAULTS - f0)) write faults, ulimit -f (${#TRACKED[@]} files tracked)"
done
echo "kill points: $KILLS (killed runs undone: $UNDONE, undo refused: $REFUSED); write faults: $FAULTS; torn files: $TORN; failed: $FAILS"
[ "$FAILS" -eq 0 ]
