#!/bin/bash
# Builds orvconfig and walks through it on a sandbox cluster under ./sandbox. Each step
# prints the command, its output and exit status, and what it changed in the sandbox.
#
# One machine plays every host: the host name, the resolver's hosts and the login name
# are simulated with nss_wrapper, so the binary runs unmodified.
#
#   KEEP_SANDBOX=1 ./scripts/demo.sh   keeps ./sandbox and prints the line that runs
#                                      orvconfig by hand inside it.
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$PWD

./scripts/bootstrap.sh

BUILD=$ROOT/build-demo
cmake -S . -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORV_SANITIZE=OFF -DORV_TESTS=OFF \
    >/dev/null
cmake --build "$BUILD" -j2 --target orvconfig >/dev/null
BIN=$BUILD/orvconfig

NSS_WRAPPER_LIB=$(for d in /usr/lib/x86_64-linux-gnu /usr/lib64 /usr/lib; do
    [ -e "$d/libnss_wrapper.so" ] && echo "$d/libnss_wrapper.so" && break; done)
[ -n "$NSS_WRAPPER_LIB" ] || { echo "demo: libnss_wrapper.so not found" >&2; exit 1; }

# --- the sandbox --------------------------------------------------------------------------
#   sandbox/nss                       passwd, group, hosts for nss_wrapper
#   sandbox/share                     the shared top (filled by mghost)
#   sandbox/<host>/top                ORV_TOP of each simulated host
#   sandbox/<host>/top/kernel/conf    its local configuration directory
SANDBOX=$ROOT/sandbox
HOSTS="hostA hostB hostC"
LOGIN=orvadmin

write_nss() {
    mkdir -p "$SANDBOX/nss"
    printf '%s:x:%s:%s:Cluster admin:/nonexistent:/bin/sh\n' "$LOGIN" "$(id -u)" "$(id -g)" \
        >"$SANDBOX/nss/passwd"
    printf 'orvgrp:x:%s:\n' "$(id -g)" >"$SANDBOX/nss/group"
    cat >"$SANDBOX/nss/hosts" <<'HOSTS'
127.0.0.1 localhost
10.0.0.1 hostA.lab.local hostA
10.0.0.2 hostB.lab.local hostB
10.0.0.3 hostC.lab.local hostC
HOSTS
}

write_host_conf() {
    local conf=$SANDBOX/$1/top/kernel/conf
    mkdir -p "$conf"
    cat >"$conf/orv.conf" <<'CONF'
# ORV kernel configuration
ORV_MASTER_LIST="@ORV_MASTER_LIST@"
ORV_LIM_PORT=7869
ORV_KD_PORT=7870
ORV_PEM_PORT=7871
ORV_GET_CONF=lim
CONF
    cat >"$conf/orv.shared" <<'SHARED'
Begin Cluster
ClusterName
cluster1
End Cluster
SHARED
    cat >"$conf/orv.cluster.cluster1" <<'CLUSTER'
Begin ClusterAdmins
Administrators = orvadmin
End ClusterAdmins

Begin Host
HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
End Host
CLUSTER
}

make_sandbox() {
    rm -rf "$SANDBOX"
    mkdir -p "$SANDBOX/share"
    write_nss
    local h
    for h in $HOSTS; do write_host_conf "$h"; done
}

# --- running a step ---------------------------------------------------------------------
# The simulated host of the next steps, and its configuration directory in use (its local
# one unless a step moved it onto the shared directory).
AS_HOST=hostA
CONFDIR=

as_host() {
    AS_HOST=$1
    CONFDIR=${2:-$SANDBOX/$1/top/kernel/conf}
}

host_env() {
    printf '%s\n' \
        "LD_PRELOAD=$NSS_WRAPPER_LIB" \
        "NSS_WRAPPER_PASSWD=$SANDBOX/nss/passwd" \
        "NSS_WRAPPER_GROUP=$SANDBOX/nss/group" \
        "NSS_WRAPPER_HOSTS=$SANDBOX/nss/hosts" \
        "NSS_WRAPPER_HOSTNAME=$AS_HOST" \
        "ORV_TOP=$SANDBOX/$AS_HOST/top" \
        "ORV_CONFDIR=${CONFDIR:-$SANDBOX/$AS_HOST/top/kernel/conf}" \
        "ORV_LOCAL_CONFDIR=$SANDBOX/$AS_HOST/top/kernel/conf" \
        "ORVCONFIG_STATE_DIR=$SANDBOX/.state/$AS_HOST"
}

BOLD='' PLAIN=''
if [ -t 1 ]; then BOLD=$'\033[1m' PLAIN=$'\033[0m'; fi

BEFORE=$(mktemp -d)
trap 'rm -rf "$BEFORE"' EXIT

# step ARGS...: runs orvconfig ARGS on the current host (standard input from $STEP_INPUT
# when set, else empty), then shows its output, its exit status and the sandbox diff.
step() {
    local -a envs
    mapfile -t envs < <(host_env)
    local shown="" a
    for a in "$@"; do
        case $a in *[[:space:]\[\]\*]*) shown+=" \"$a\"" ;; *) shown+=" $a" ;; esac
    done
    printf '\n%s[%s]$ orvconfig%s%s\n' "$BOLD" "$AS_HOST" "$shown" "$PLAIN"
    rm -rf "$BEFORE/sandbox"
    cp -a "$SANDBOX" "$BEFORE/sandbox"
    local status=0
    env -i PATH="$PATH" "${envs[@]}" "$BIN" "$@" <"${STEP_INPUT:-/dev/null}" 2>&1 || status=$?
    printf -- '-> exit status %d\n' "$status"
    if ! (cd "$BEFORE" && diff -ru -x .state sandbox "$SANDBOX" >"$BEFORE/diff"); then
        echo "-> changes in the sandbox (<sandbox> stands for $SANDBOX):"
        sed -e "s|$SANDBOX|<sandbox>|g" -e '/^diff -ru /d' "$BEFORE/diff"
    else
        echo "-> no file changed"
    fi
}

# --- management hosts ---------------------------------------------------------------------
# Each host's installation carries the kernel's change scripts in top/.install (what
# "mghost" copies to and edits on the shared top) and its environment scripts.
write_kernel_install() {
    local top=$SANDBOX/$1/top
    local conf=$top/kernel/conf
    mkdir -p "$top/.install"
    cat >"$top/.install/mgconf.txt" <<'MGCONF'
file|@ORV_CONFDIR@/orv.conf|@SHARETOP@/kernel/conf/orv.conf|Y
file|@ORV_CONFDIR@/orv.shared|@SHARETOP@/kernel/conf/orv.shared|Y
file|@ORV_CONFDIR@/orv.cluster.@CLUSTERNAME@|@SHARETOP@/kernel/conf/orv.cluster.@CLUSTERNAME@|Y
file|@ORV_CONFDIR@/ResourceGroups.xml|@SHARETOP@/kernel/conf/ResourceGroups.xml|Y
MGCONF
    cat >"$top/.install/mgmasterupdate.txt" <<'MASTER'
addline|@SHARETOP@/kernel/conf/orv.conf|ORV_SHARED_CONFDIR=|ORV_SHARED_CONFDIR=@SHARETOP@/kernel/conf
MASTER
    cat >"$top/.install/mgupdate.txt" <<'UPDATE'
replaceline|@ORV_CONFDIR@/profile.orv|ORV_CONFDIR=|ORV_CONFDIR=@SHARETOP@/kernel/conf
replaceline|@ORV_CONFDIR@/cshrc.orv|setenv ORV_CONFDIR|setenv ORV_CONFDIR @SHARETOP@/kernel/conf
UPDATE
    printf '# installed products: name;keyword;top directory\n' >"$top/.install/head.conf"
    # shellcheck disable=SC2016 # the environment scripts hold their variables unexpanded
    printf 'ORV_CONFDIR=$ORV_TOP/kernel/conf\nORV_OSRVDIR=$ORV_TOP/oservice\n' >"$conf/profile.orv"
    # shellcheck disable=SC2016 # as above
    printf 'setenv ORV_CONFDIR $ORV_TOP/kernel/conf\nsetenv ORV_OSRVDIR $ORV_TOP/oservice\n' \
        >"$conf/cshrc.orv"
    [ -e "$conf/ResourceGroups.xml" ] || cat >"$conf/ResourceGroups.xml" <<'RG'
<?xml version="1.0" encoding="UTF-8"?>
<ResourceGroups>
    <ResourceGroup ResourceGroupName="ManagementHosts">
        <ResourceList>
        </ResourceList>
    </ResourceGroup>
</ResourceGroups>
RG
}

# install_vos HOST: the batch product in top/vos, with its own change scripts, listed in
# head.conf so that "mghost vos" finds it.
install_vos() {
    local top=$SANDBOX/$1/top
    mkdir -p "$top/vos/conf" "$top/vos/.install"
    printf 'VOS_TOP=%s/vos\nVOS_ORV_ENVDIR=%s/kernel/conf\n' "$top" "$top" >"$top/vos/conf/vos.conf"
    # shellcheck disable=SC2016 # as above
    printf 'VOS_ENVDIR=$VOS_TOP/conf\n' >"$top/vos/conf/profile.vos"
    echo 'file|@INSTALLDIR@/vos/conf/vos.conf|@SHARETOP@/vos/conf/vos.conf|Y' \
        >"$top/vos/.install/mgconf.txt"
    echo 'replacestring|@SHARETOP@/vos/conf/vos.conf|VOS_ORV_ENVDIR=|VOS_ORV_ENVDIR=@SHARETOP@/kernel/conf' \
        >"$top/vos/.install/mgmasterupdate.txt"
    echo 'replaceline|@INSTALLDIR@/vos/conf/profile.vos|VOS_ENVDIR=|VOS_ENVDIR=@SHARETOP@/vos/conf' \
        >"$top/vos/.install/mgupdate.txt"
    printf 'VOS 10.1;vos;%s/vos\n' "$top" >>"$top/.install/head.conf"
}

# --- the walk-through ---------------------------------------------------------------------
# say TEXT: a line of narration between the steps.
say() { printf '\n%s# %s%s\n' "$BOLD" "$*" "$PLAIN"; }

make_sandbox
for h in $HOSTS; do write_kernel_install "$h"; done
as_host hostA

say "The command line: usage, version banner, a usage error."
step -h
step -V
step join

say "hostA creates the cluster as its master; hostB and hostC join it."
step join hostA -f
as_host hostB
step join hostA -f
as_host hostC
step join hostA -f

say "The master fills the shared top and moves onto it; hostB follows as a management host."
as_host hostA
say "First a preview: the same checks and messages, a diff of every file, nothing written."
step --dry-run mghost "$SANDBOX/share"
step mghost "$SANDBOX/share" -f
as_host hostB
step mghost "$SANDBOX/share" -f

say "hostB becomes the second master candidate (a new master must already be a candidate)."
as_host hostA "$SANDBOX/share/kernel/conf"
step masterlist hostB,hostA
step masterlist hostA,hostB

say "The batch product, installed afterwards, moves onto the shared top too."
install_vos hostA
step mghost vos -f

say "The master moves its port block on both sides; the HDFS port lives in the shared NameNode profile."
mkdir -p "$SANDBOX/share/oservice/osc/conf/services"
printf '<Service name="NameNode">\n    <Environment name="HOV_HDFS_PORT">8020</Environment>\n</Service>\n' \
    >"$SANDBOX/share/oservice/osc/conf/services/namenode.xml"
step setbaseport 26869
step hovhdfsport show
step hovhdfsport set 28020

say "hostC, a compute host, is tagged for harvesting and gets a numeric resource."
as_host hostC
step addresourceattr "[resource scvg] [resourcemap 2*slots]"

say "hostB goes back to its local configuration directory and leaves the master list."
as_host hostB "$SANDBOX/share/kernel/conf"
step unsetmghost -f

say "Every change was journaled: hostB looks at its last run and undoes it."
step history
step undo -f

say "Before the daemons restart, each host checks that its configuration hangs together."
as_host hostA "$SANDBOX/share/kernel/conf"
step check
as_host hostB "$SANDBOX/share/kernel/conf"
step check
say "hostB's own port block stayed behind when the master moved the shared one: it moves it too."
step setbaseport 26869
step check
as_host hostC
step check
as_host hostA "$SANDBOX/share/kernel/conf"

if [ "${KEEP_SANDBOX:-0}" = 1 ]; then
    echo
    echo "The sandbox is kept in $SANDBOX. To run orvconfig as $AS_HOST inside it:"
    printf 'env'
    host_env | while read -r kv; do printf ' %q' "$kv"; done
    printf ' %q <arguments>\n' "$BIN"
else
    rm -rf "$SANDBOX"
fi
