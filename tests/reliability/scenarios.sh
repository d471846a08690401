# Representative edits of every kind, laid out on small fixture trees, and the check that
# a tree holds no lost or half-written configuration file. Sourced by faults.sh, the
# fault-injection driver; it reuses the fixture writers of the end-to-end suites.
#
# A scenario is set up by rel_scenario NAME into $T (fixed path, so absolute paths written
# into the fixture stay valid when the pristine tree is copied back) and sets:
#   REL_ARGS      the orvconfig arguments
#   REL_CHANGED   the files (relative to $T) that a clean run must change or create
#   REL_VIA       "file=source" pairs: a file that is first created as a copy of source
#                 and edited afterwards, so the copy is a legitimate version of its own
#
# rel_record_versions then keeps, for every regular file of the tree, its version before
# the run and after a clean run (absent counts as a version), plus the copy of REL_VIA.
# rel_check_tree tells whether every file holds one complete version, or whether its
# ".tmp" holds a complete version that is not the old one.
# The variables set here are read by the scripts that source this file and by the
# fixture writers of helpers.bash.
# shellcheck shell=bash disable=SC2034

REL_DIR=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
REL_SRC=$(cd "$REL_DIR/../.." && pwd)
# shellcheck source=../cli/helpers.bash
source "$REL_SRC/tests/cli/helpers.bash"

rel_die() {
    echo "reliability: $*" >&2
    exit 2
}

# The environment of a run: the suites' identity and directories, without leak checking
# (the leak checker cannot attach to a process that is already traced).
rel_env() {
    orv_env | sed 's/^ASAN_OPTIONS=.*/ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0/'
}

rel_base_tree() {
    TOP=$T/top
    CONF=$TOP/kernel/conf
    SHARE=$T/share
    SERVICES=$TOP/oservice/osc/conf/services
    mkdir -p "$CONF" "$SHARE" "$T/nss" "$SERVICES"
    ORV_HOSTNAME=hostA
    ORV_LOGIN=orvadmin
    orv_write_nss
    orv_write_default_conf "$CONF"
}

# masterlist: orv.conf rewritten once (the new order of two candidates).
rel_scenario_masterlist() {
    rel_base_tree
    sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostA hostB"/' "$CONF/orv.conf"
    sed -i '/^HOSTNAME/a hostA     !        !           1      -    -    -    (mg linux)\nhostB     !        !           1      -    -    -    (mg linux)' \
        "$CONF/orv.cluster.cluster1"
    REL_ARGS=(masterlist "hostB,hostA")
    REL_CHANGED=(top/kernel/conf/orv.conf)
}

# hovhdfsport set: one XML value rewritten in the only profile present.
rel_scenario_hdfsport() {
    rel_base_tree
    cat >"$SERVICES/namenode.xml" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<Service name="NameNode">
    <EnvVar name="HOV_HDFS_PORT">8020</EnvVar>
    <EnvVar name="HOV_HDFS_HOME">/opt/hdfs</EnvVar>
</Service>
XML
    REL_ARGS=(hovhdfsport set "${REL_HDFS_PORT:?}")
    REL_CHANGED=(top/oservice/osc/conf/services/namenode.xml)
}

# join of a new cluster: orv.conf, the cluster file and ResourceGroups.xml rewritten once
# each (no ORV_GET_CONF line, so its removal changes nothing and writes nothing).
rel_scenario_join() {
    rel_base_tree
    sed -i '/^ORV_GET_CONF=/d' "$CONF/orv.conf"
    REL_ARGS=(join hostA -f)
    REL_CHANGED=(top/kernel/conf/orv.conf top/kernel/conf/orv.cluster.cluster1
        top/kernel/conf/ResourceGroups.xml)
}

# addresourceattr on a compute host: new tags merged into the existing key.
rel_scenario_resources() {
    rel_base_tree
    sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB"/' "$CONF/orv.conf"
    echo 'ORV_LOCAL_RESOURCES="[resource a]" # site tags' >>"$CONF/orv.conf"
    REL_ARGS=(addresourceattr "[resource scvg] [resourcemap 4*mem]")
    REL_CHANGED=(top/kernel/conf/orv.conf)
}

# mghost on the master: small change scripts copy four files to the shared directory,
# edit the shared orv.conf and the local profile; the resource group and the cluster file
# on the shared directory are rewritten after being copied.
rel_scenario_mghost() {
    rel_base_tree
    mg_write_host_conf "$CONF" "$TOP" "hostA hostB"
    local i=$TOP/.install
    mkdir -p "$i"
    cat >"$i/mgconf.txt" <<'MGCONF'
file|@ORV_CONFDIR@/orv.conf|@SHARETOP@/kernel/conf/orv.conf|Y
file|@ORV_CONFDIR@/orv.shared|@SHARETOP@/kernel/conf/orv.shared|Y
file|@ORV_CONFDIR@/orv.cluster.@CLUSTERNAME@|@SHARETOP@/kernel/conf/orv.cluster.@CLUSTERNAME@|Y
file|@ORV_CONFDIR@/ResourceGroups.xml|@SHARETOP@/kernel/conf/ResourceGroups.xml|Y
MGCONF
    echo 'replacestring|@SHARETOP@/kernel/conf/orv.conf|ORV_WORKDIR=|ORV_WORKDIR=@SHARETOP@/kernel/work' \
        >"$i/mgmasterupdate.txt"
    echo 'replaceline|@ORV_CONFDIR@/profile.orv|ORV_CONFDIR=|ORV_CONFDIR=@SHARETOP@/kernel/conf' \
        >"$i/mgupdate.txt"
    printf '# installed products: name;keyword;top directory\n' >"$i/head.conf"
    REL_ARGS=(mghost "$SHARE" -f)
    REL_CHANGED=(top/kernel/conf/profile.orv share/kernel/conf/orv.conf
        share/kernel/conf/orv.shared share/kernel/conf/orv.cluster.cluster1
        share/kernel/conf/ResourceGroups.xml)
    REL_VIA=(share/kernel/conf/orv.conf=top/kernel/conf/orv.conf
        share/kernel/conf/orv.cluster.cluster1=top/kernel/conf/orv.cluster.cluster1
        share/kernel/conf/ResourceGroups.xml=top/kernel/conf/ResourceGroups.xml)
}

REL_SCENARIOS=(masterlist hdfsport join resources mghost)

# rel_scenario NAME: lays out the scenario in $T (emptied first) and keeps a pristine copy.
rel_scenario() {
    REL_ARGS=() REL_CHANGED=() REL_VIA=()
    rm -rf "$T" "$W/pristine"
    mkdir -p "$T"
    "rel_scenario_$1"
    cp -a "$T" "$W/pristine"
}

rel_restore() {
    rm -rf "$T"
    cp -a "$W/pristine" "$T"
}

# The regular files of the tree that count as configuration (the nss_wrapper files and the
# change scripts' working copies beside them are not).
rel_files() {
    (cd "$1" && find . -type f ! -path './nss/*' ! -name '*.tmp' | sed 's|^\./||' | LC_ALL=C sort)
}

# Stores version KIND (old, mid, new) of file REL (index IDX) from the tree ROOT.
rel_store() {
    local root=$1 rel=$2 idx=$3 kind=$4
    mkdir -p "$W/v/$idx"
    if [ -f "$root/$rel" ]; then
        cp "$root/$rel" "$W/v/$idx/$kind"
    else
        : >"$W/v/$idx/$kind.absent"
    fi
}

# rel_record_versions CLEAN_ROOT: REL_TRACKED gets every file of the pristine tree and of
# the tree after a clean run; each gets its old and new versions.
rel_record_versions() {
    local clean=$1 i rel pair
    mapfile -t REL_TRACKED < <( (rel_files "$W/pristine"; rel_files "$clean") | LC_ALL=C sort -u)
    rm -rf "$W/v"
    for i in "${!REL_TRACKED[@]}"; do
        rel=${REL_TRACKED[$i]}
        rel_store "$W/pristine" "$rel" "$i" old
        rel_store "$clean" "$rel" "$i" new
        for pair in "${REL_VIA[@]}"; do
            [ "${pair%%=*}" = "$rel" ] && rel_store "$W/pristine" "${pair#*=}" "$i" mid
        done
    done
}

# Succeeds when PATH holds one of the versions of file IDX (old included unless $3 is
# "not-old"); an absent PATH matches an absent version.
rel_matches_version() {
    local path=$1 idx=$2 skip=${3:-} v
    for v in "$W/v/$idx"/*; do
        [ "$skip" = not-old ] && case $v in */old | */old.absent) continue ;; esac
        case $v in
            *.absent) [ -e "$path" ] || return 0 ;;
            *) [ -f "$path" ] && cmp -s "$v" "$path" && return 0 ;;
        esac
    done
    return 1
}

# rel_check_tree: prints one line per lost or stray file of $T and fails if there is one.
rel_check_tree() {
    local bad=0 i rel f
    for i in "${!REL_TRACKED[@]}"; do
        rel=${REL_TRACKED[$i]}
        rel_matches_version "$T/$rel" "$i" && continue
        [ -f "$T/$rel.tmp" ] && rel_matches_version "$T/$rel.tmp" "$i" not-old && continue
        echo "LOST: $rel holds no complete version and no complete new .tmp"
        bad=1
    done
    while IFS= read -r f; do
        case " ${REL_TRACKED[*]} " in *" $f "*) continue ;; esac
        echo "STRAY: $f"
        bad=1
    done < <(rel_files "$T")
    return $bad
}

# rel_changed_files CLEAN_ROOT: the files that differ between the pristine and CLEAN_ROOT.
rel_changed_files() {
    local i rel
    for i in "${!REL_TRACKED[@]}"; do
        rel=${REL_TRACKED[$i]}
        if [ -f "$W/pristine/$rel" ] && [ -f "$1/$rel" ] && cmp -s "$W/pristine/$rel" "$1/$rel"; then
            continue
        fi
        echo "$rel"
    done
}

# rel_run ARGS...: runs orvconfig ARGS in the scenario's environment (output in $W/out).
rel_run() {
    local -a envs
    mapfile -t envs < <(rel_env)
    env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" "$@" </dev/null >"$W/out" 2>&1
}

# rel_clean_run NAME: a run without faults; records the versions and checks that exactly
# the scenario's files changed.
rel_clean_run() {
    rel_restore
    rel_run "${REL_ARGS[@]}" || { cat "$W/out"; rel_die "$1: the clean run failed"; }
    rm -rf "$W/clean"
    cp -a "$T" "$W/clean"
    rel_record_versions "$W/clean"
    local changed expected
    changed=$(rel_changed_files "$W/clean")
    expected=$(printf '%s\n' "${REL_CHANGED[@]}" | LC_ALL=C sort)
    [ "$changed" = "$expected" ] || rel_die "$1: the clean run changed [$changed], expected [$expected]"
}

# rel_setup_work: the work directory $W (removed at exit) and the fixture path $T.
rel_setup_work() {
    [ -n "$NSS_WRAPPER_LIB" ] || rel_die "libnss_wrapper.so is not installed"
    command -v strace >/dev/null || rel_die "strace is not installed"
    [ -x "${ORVCONFIG:-}" ] || rel_die "set ORVCONFIG to the orvconfig binary"
    W=$(mktemp -d "${TMPDIR:-/tmp}/orv-reliability.XXXXXX")
    trap 'rm -rf "$W"' EXIT
    T=$W/t
    REL_HDFS_PORT=$(orv_free_base 1) || rel_die "no free port for the HDFS scenario"
}
