# Shared helpers of the end-to-end suites. Every case starts from a fresh installation
# tree under $BATS_TEST_TMPDIR; identity (host name, resolver, login name) is simulated
# with nss_wrapper, so the binary runs unmodified.
#
# Layout made by orv_setup_tree (T=$BATS_TEST_TMPDIR/t):
#   $T/top                      ORV_TOP (installation top)
#   $T/top/kernel/conf          ORV_CONFDIR = ORV_LOCAL_CONFDIR (a host using local config)
#       orv.conf orv.shared orv.cluster.cluster1 ResourceGroups.xml
#   $T/top/oservice/osc/conf    orvsc_conf.xml, services/*.xml (added by suites that need them)
#   $T/top/.install             change scripts and head.conf (added by suites)
#   $T/share                    a shared top (empty until a suite fills it)
#   $T/nss                      passwd, group, hosts for nss_wrapper
#
# Simulated hosts: hostA (this host by default), hostB, hostC, each with a fully qualified
# canonical name <host>.lab.local; "ghost" does not resolve. The login name is orvadmin.

ORVCONFIG=${ORVCONFIG:-orvconfig}
NSS_WRAPPER_LIB=${NSS_WRAPPER_LIB:-$(for d in /usr/lib/x86_64-linux-gnu /usr/lib64 /usr/lib; do
    [ -e "$d/libnss_wrapper.so" ] && echo "$d/libnss_wrapper.so" && break; done)}

orv_require_nss_wrapper() {
    [ -n "$NSS_WRAPPER_LIB" ] || skip "libnss-wrapper is not installed"
}

orv_setup_tree() {
    orv_require_nss_wrapper
    T=$BATS_TEST_TMPDIR/t
    TOP=$T/top
    CONF=$TOP/kernel/conf
    SHARE=$T/share
    mkdir -p "$CONF" "$SHARE" "$T/nss" "$TOP/oservice/osc/conf/services"
    ORV_HOSTNAME=hostA
    ORV_LOGIN=orvadmin
    orv_write_nss
    orv_write_default_conf "$CONF"
}

# Writes the nss_wrapper files. The real uid (root in CI, or any user) is mapped to
# $ORV_LOGIN so that getpwuid(getuid()) yields it.
orv_write_nss() {
    local uid gid
    uid=$(id -u)
    gid=$(id -g)
    printf '%s:x:%s:%s:Cluster admin:/nonexistent:/bin/sh\n' "$ORV_LOGIN" "$uid" "$gid" >"$T/nss/passwd"
    printf 'orvgrp:x:%s:\n' "$gid" >"$T/nss/group"
    cat >"$T/nss/hosts" <<HOSTS
127.0.0.1 localhost
10.0.0.1 hostA.lab.local hostA
10.0.0.2 hostB.lab.local hostB
10.0.0.3 hostC.lab.local hostC
10.0.0.4 hostD.lab.local hostD
HOSTS
}

# orv_conf_text [LIST]: the default orv.conf, its master list holding LIST (the
# not-yet-joined placeholder by default).
# shellcheck disable=SC2120 # LIST is optional
orv_conf_text() {
    cat <<CONF
# ORV kernel configuration
ORV_MASTER_LIST="${1:-@ORV_MASTER_LIST@}"
ORV_LIM_PORT=7869
ORV_KD_PORT=7870
ORV_PEM_PORT=7871
ORV_GET_CONF=lim
ORV_WORKDIR=/opt/orv/kernel/work
CONF
}

# orv_write_shared_and_cluster DIR [HOSTLINE...]: orv.shared naming cluster1 and its
# cluster file (administrator orvadmin) with the given host lines in its host section.
orv_write_shared_and_cluster() {
    local d=$1
    shift
    printf 'Begin Cluster\nClusterName\ncluster1\nEnd Cluster\n' >"$d/orv.shared"
    {
        printf 'Begin ClusterAdmins\nAdministrators = orvadmin\nEnd ClusterAdmins\n\nBegin Host\n'
        printf 'HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords\n'
        [ $# -eq 0 ] || printf '%s\n' "$@"
        printf 'End Host\n'
    } >"$d/orv.cluster.cluster1"
}

orv_write_default_conf() {
    local d=$1
    orv_conf_text >"$d/orv.conf"
    orv_write_shared_and_cluster "$d"
    cat >"$d/ResourceGroups.xml" <<'RG'
<?xml version="1.0" encoding="UTF-8"?>
<ResourceGroups>
    <ResourceGroup ResourceGroupName="ManagementHosts">
        <ResourceList>
@ORV_MASTER@
        </ResourceList>
    </ResourceGroup>
    <ResourceGroup ResourceGroupName="ComputeHosts">
        <ResourceRequirement>select(!mg)</ResourceRequirement>
    </ResourceGroup>
</ResourceGroups>
RG
}

# Runs the binary with the fixture's environment. Variables that a case wants to change
# (ORV_CONFDIR, ORV_LOCAL_CONFDIR, ORV_TOP, VOS_ENVDIR, ORV_HOSTNAME) may be set before.
# Unset a variable for the run with ORV_UNSET="ORV_CONFDIR ...".
orv_env() {
    local -a e=(
        "LD_PRELOAD=${LD_PRELOAD_SHIM:+$LD_PRELOAD_SHIM:}$NSS_WRAPPER_LIB"
        "NSS_WRAPPER_PASSWD=$T/nss/passwd"
        "NSS_WRAPPER_GROUP=$T/nss/group"
        "NSS_WRAPPER_HOSTS=$T/nss/hosts"
        "NSS_WRAPPER_HOSTNAME=$ORV_HOSTNAME"
        "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=1"
        # The wrapper would load libc with RTLD_DEEPBIND for lookups it passes on (a
        # passive wildcard address), which the sanitizer runtime refuses.
        "NSS_WRAPPER_DISABLE_DEEPBIND=1"
        "ORV_TOP=${ORV_TOP_DIR:-$TOP}"
        "ORV_CONFDIR=${ORV_CONFDIR_DIR:-$CONF}"
        "ORV_LOCAL_CONFDIR=${ORV_LOCAL_CONFDIR_DIR:-$CONF}"
    )
    [ -n "${VOS_ENVDIR_DIR:-}" ] && e+=("VOS_ENVDIR=$VOS_ENVDIR_DIR")
    [ -n "${ORV_LOOKUP_LOG:-}" ] && e+=("ORV_LOOKUP_LOG=$ORV_LOOKUP_LOG")
    local v
    for v in ${ORV_UNSET:-}; do
        e=("${e[@]/#$v=*/}")
    done
    local -a set_vars=()
    for v in "${e[@]}"; do [ -n "$v" ] && set_vars+=("$v"); done
    printf '%s\n' "${set_vars[@]}"
}

# run_orv ARGS...: runs orvconfig in the fixture (stdin from /dev/null unless ORV_STDIN
# names a file), capturing $status and $output (stdout and stderr merged by bats).
run_orv() {
    local -a envs
    mapfile -t envs < <(orv_env)
    run env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" "$@" <"${ORV_STDIN:-/dev/null}"
}

# expect_file PATH: compares the file with the text on standard input, byte for byte.
expect_file() {
    local expected
    expected=$(mktemp "$BATS_TEST_TMPDIR/expected.XXXXXX")
    cat >"$expected"
    if ! cmp -s "$expected" "$1"; then
        echo "--- $1 differs from the expected text:" >&2
        diff -u "$expected" "$1" >&2 || true
        return 1
    fi
}

# ---- Ports: shared configuration directory, real sockets held on this machine ----

# orv_setup_shared_conf: makes this host read its configuration from the shared top
# $SHARE (ORV_CONFDIR=$SCONF=$SHARE/kernel/conf) while its local directory stays $CONF.
# The shared services directory is $SSERVICES; the local one is $SERVICES.
orv_setup_shared_conf() {
    SCONF=$SHARE/kernel/conf
    SSERVICES=$SHARE/oservice/osc/conf/services
    mkdir -p "$SCONF" "$SSERVICES"
    orv_write_default_conf "$SCONF"
    ORV_CONFDIR_DIR=$SCONF
}

# Binds a port on the IPv4 wildcard address and, where IPv6 exists, on the IPv6 one
# (v6-only, so both families are covered whichever the probe tries first).
# shellcheck disable=SC2016 # a perl program, expanded by perl
_ORV_PERL_BIND='
use strict; use Socket qw(:all);
sub bind_port {
    my ($p, $keep) = @_;
    socket(my $s4, AF_INET, SOCK_STREAM, 0) or return 0;
    bind($s4, pack_sockaddr_in($p, INADDR_ANY)) or return 0;
    listen($s4, 5) if $keep;
    push @$keep, $s4 if $keep;
    if (socket(my $s6, AF_INET6, SOCK_STREAM, 0)) {
        setsockopt($s6, IPPROTO_IPV6, IPV6_V6ONLY, 1);
        bind($s6, pack_sockaddr_in6($p, IN6ADDR_ANY)) or return 0;
        if ($keep) { listen($s6, 5); push @$keep, $s6; }
    }
    return 1;
}
'

# orv_free_base SPAN: prints a random base in 20000..49999 whose SPAN ports are all free
# at this moment on this machine.
orv_free_base() {
    perl -e "$_ORV_PERL_BIND"'
        for (1 .. 300) {
            my $b = 20000 + int(rand(30000)); my $ok = 1;
            for my $p ($b .. $b + $ARGV[0] - 1) { if (!bind_port($p, undef)) { $ok = 0; last } }
            if ($ok) { print "$b\n"; exit 0 }
        }
        exit 1;' "$1"
}

# orv_hold_ports PORT...: keeps the ports bound by a background process until
# orv_release_ports (call it from teardown). Fails when a port cannot be bound.
orv_hold_ports() {
    local ready=$BATS_TEST_TMPDIR/ports-held.$RANDOM
    perl -e "$_ORV_PERL_BIND"'
        my ($ready, @ports) = @ARGV; my @held;
        for my $p (@ports) { bind_port($p, \@held) or die "cannot bind $p: $!\n" }
        open(my $f, ">", $ready) or die; close $f;
        sleep 300;' "$ready" "$@" 3>&- &
    ORV_HOLDER_PIDS="${ORV_HOLDER_PIDS:-} $!"
    local i
    for i in $(seq 100); do
        [ -e "$ready" ] && return 0
        kill -0 "$!" 2>/dev/null || break
        sleep 0.05
    done
    echo "could not hold ports $*" >&2
    return 1
}

orv_release_ports() {
    local pid
    for pid in ${ORV_HOLDER_PIDS:-}; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    ORV_HOLDER_PIDS=
}

# orv_ports_free BASE SPAN: succeeds when the SPAN ports from BASE are free right now.
orv_ports_free() {
    perl -e "$_ORV_PERL_BIND"'
        for my $p ($ARGV[0] .. $ARGV[0] + $ARGV[1] - 1) { bind_port($p, undef) or exit 1 }' "$1" "$2"
}

# ---- Management hosts: change scripts, layered products, shared and candidate hosts ----
#
# mg_setup_master lays out the master host hostA (first of ORV_MASTER_LIST) on its local
# configuration, with the kernel's change scripts in $TOP/.install. mg_add_vos, mg_add_kirn
# and mg_add_zt install a layered product and list it in head.conf. mg_setup_candidate HOST
# lays out another host with its own installation top $T/top-HOST (printed in $CTOP).
# mg_share_master puts the master onto $SHARE as a finished promotion would have, so that
# product and demotion cases do not depend on a promotion run. $RSHARE is $SHARE resolved.

# mg_write_host_conf DIR TOP LIST: the local configuration of a host installed in TOP whose
# orv.conf names LIST as the master candidates; hostA is already in the cluster file.
mg_write_host_conf() {
    local d=$1 top=$2 list=$3
    mkdir -p "$d/services/profiles"
    cat >"$d/orv.conf" <<CONF
# ORV kernel configuration
ORV_MASTER_LIST="$list"
ORV_LIM_PORT=7869
ORV_KD_PORT=7870
ORV_WORKDIR=$top/kernel/work
CONF
    orv_write_shared_and_cluster "$d" 'hostA     !        !           1      -    -    -    (linux)'
    cat >"$d/ResourceGroups.xml" <<'RG'
<?xml version="1.0" encoding="UTF-8"?>
<ResourceGroups>
    <ResourceGroup ResourceGroupName="ManagementHosts">
        <ResourceList>
            <Resource>hostA</Resource>
        </ResourceList>
    </ResourceGroup>
    <ResourceGroup ResourceGroupName="ComputeHosts">
        <ResourceRequirement>select(!mg)</ResourceRequirement>
    </ResourceGroup>
</ResourceGroups>
RG
    cat >"$d/profile.orv" <<PROFILE
ORV_TOP=$top
ORV_CONFDIR=\$ORV_TOP/kernel/conf
ORV_LOCAL_CONFDIR=\$ORV_TOP/kernel/conf
ORV_OSRVDIR=\$ORV_TOP/oservice
export ORV_TOP ORV_CONFDIR ORV_LOCAL_CONFDIR ORV_OSRVDIR
PROFILE
    cat >"$d/cshrc.orv" <<CSHRC
setenv ORV_TOP $top
setenv ORV_CONFDIR \$ORV_TOP/kernel/conf
setenv ORV_LOCAL_CONFDIR \$ORV_TOP/kernel/conf
setenv ORV_OSRVDIR \$ORV_TOP/oservice
CSHRC
    printf '<Service name="rs">\n\t<Port>7875</Port>  \n</Service>\n' >"$d/services/rs.xml"
    printf 'PROFILE_VERSION=2\n' >"$d/services/profiles/default.conf"
    chmod 600 "$d/services/profiles/default.conf"
}

# mg_write_kernel_install TOP: the kernel's change scripts and an empty product registry.
mg_write_kernel_install() {
    local i=$1/.install
    mkdir -p "$i"
    cat >"$i/mgconf.txt" <<'MGCONF'
# files every management host reads from the shared directory
file|@ORV_CONFDIR@/orv.conf|@SHARETOP@/kernel/conf/orv.conf|Y
file|@ORV_CONFDIR@/orv.shared|@SHARETOP@/kernel/conf/orv.shared|Y
file|@ORV_CONFDIR@/orv.cluster.@CLUSTERNAME@|@SHARETOP@/kernel/conf/orv.cluster.@CLUSTERNAME@|Y
file|@ORV_CONFDIR@/ResourceGroups.xml|@SHARETOP@/kernel/conf/ResourceGroups.xml|Y
directory|@ORV_CONFDIR@/services|@SHARETOP@/kernel/conf/services|Y
MGCONF
    cat >"$i/mgmasterupdate.txt" <<'MASTER'
replacestring|@SHARETOP@/kernel/conf/orv.conf|ORV_WORKDIR=|ORV_WORKDIR=@SHARETOP@/kernel/work
addline|@SHARETOP@/kernel/conf/orv.conf|ORV_SHARED_CONFDIR=|ORV_SHARED_CONFDIR=@SHARETOP@/kernel/conf
MASTER
    cat >"$i/mgupdate.txt" <<'UPDATE'
replaceline|@ORV_CONFDIR@/profile.orv|ORV_CONFDIR=|ORV_CONFDIR=@SHARETOP@/kernel/conf
replaceline|@ORV_CONFDIR@/profile.orv|ORV_OSRVDIR=|ORV_OSRVDIR=@SHARETOP@/oservice
replaceline|@ORV_CONFDIR@/cshrc.orv|setenv ORV_CONFDIR|setenv ORV_CONFDIR @SHARETOP@/kernel/conf
replaceline|@ORV_CONFDIR@/cshrc.orv|setenv ORV_OSRVDIR|setenv ORV_OSRVDIR @SHARETOP@/oservice
replacestring|@ORV_CONFDIR@/orv.conf|ORV_WORKDIR=|ORV_WORKDIR=@SHARETOP@/kernel/work
UPDATE
    printf '# installed products: name;keyword;top directory\n' >"$i/head.conf"
}

mg_setup_master() {
    orv_setup_tree
    mg_write_host_conf "$CONF" "$TOP" "hostA hostB hostC"
    mg_write_kernel_install "$TOP"
    mkdir -p "$SHARE"
    RSHARE=$(cd "$SHARE" && pwd -P)
}

# mg_setup_candidate HOST: another host of the cluster, installed in $CTOP with its own
# local configuration $CCONF; the run variables are switched to it.
mg_setup_candidate() {
    CTOP=$T/top-$1
    CCONF=$CTOP/kernel/conf
    mkdir -p "$CCONF"
    mg_write_host_conf "$CCONF" "$CTOP" "hostA hostB hostC"
    mg_write_kernel_install "$CTOP"
    ORV_HOSTNAME=$1
    ORV_TOP_DIR=$CTOP
    ORV_CONFDIR_DIR=$CCONF
    ORV_LOCAL_CONFDIR_DIR=$CCONF
}

# mg_share_master: the state a promotion of hostA onto $SHARE leaves (shared copies of the
# kernel's files, hostA marked mg) and the run variables of a host using $SHARE.
mg_share_master() {
    SCONF=$SHARE/kernel/conf
    mkdir -p "$SCONF"
    cp "$CONF/orv.conf" "$CONF/orv.shared" "$SCONF/"
    sed 's/^hostA .*/hostA     !        !            1     -    -    -   (mg linux)/' \
        "$CONF/orv.cluster.cluster1" >"$SCONF/orv.cluster.cluster1"
    sed -e '/<ResourceList>/,/<\/ResourceList>/d' \
        -e 's|ResourceGroupName="ManagementHosts">|&\n        <ResourceRequirement>select(mg)</ResourceRequirement>|' \
        "$CONF/ResourceGroups.xml" >"$SCONF/ResourceGroups.xml"
    ORV_CONFDIR_DIR=$SCONF
}

# mg_head_line TOPDIR NAME KEYWORD DIR: lists a product in head.conf of TOPDIR.
mg_head_line() {
    printf '%s;%s;%s\n' "$2" "$3" "$4" >>"$1/.install/head.conf"
}

# mg_add_vos [TOPDIR]: the batch product in TOPDIR/vos (default $TOP), its scripts in
# TOPDIR/vos/.install; its vos.conf names the cluster of TOPDIR/kernel/conf.
mg_add_vos() {
    local top=${1:-$TOP}
    local v=$top/vos
    mkdir -p "$v/conf" "$v/.install"
    printf 'VOS_TOP=%s\nVOS_ORV_ENVDIR=%s\nVOS_MASTER_LIST="hostA hostB hostC"\n' "$v" "$top/kernel/conf" \
        >"$v/conf/vos.conf"
    # shellcheck disable=SC2016 # the environment scripts hold their variables unexpanded
    printf 'VOS_ENVDIR=$VOS_TOP/conf\nexport VOS_ENVDIR\n' >"$v/conf/profile.vos"
    # shellcheck disable=SC2016 # as above
    printf 'setenv VOS_ENVDIR $VOS_TOP/conf\n' >"$v/conf/cshrc.vos"
    cat >"$v/.install/mgconf.txt" <<'MGCONF'
file|@INSTALLDIR@/vos/conf/vos.conf|@SHARETOP@/vos/conf/vos.conf|Y
MGCONF
    cat >"$v/.install/mgmasterupdate.txt" <<'MASTER'
replacestring|@SHARETOP@/vos/conf/vos.conf|VOS_ORV_ENVDIR=|VOS_ORV_ENVDIR=@SHARETOP@/kernel/conf
MASTER
    cat >"$v/.install/mgupdate.txt" <<'UPDATE'
replaceline|@INSTALLDIR@/vos/conf/profile.vos|VOS_ENVDIR=|VOS_ENVDIR=@SHARETOP@/vos/conf
replaceline|@INSTALLDIR@/vos/conf/cshrc.vos|setenv VOS_ENVDIR|setenv VOS_ENVDIR @SHARETOP@/vos/conf
UPDATE
    mg_head_line "$top" "VOS 10.1" vos "$v"
}

# mg_add_kirn [TOPDIR]: the middleware product in TOPDIR/kirn, whose conf directory is
# copied whole.
mg_add_kirn() {
    local top=${1:-$TOP}
    local k=$top/kirn
    mkdir -p "$k/conf/deploy" "$k/.install"
    printf 'KIRN_VERSION=3.2\nKIRN_CONFDIR=%s/conf\n' "$k" >"$k/conf/profile.kirn"
    printf '<deploy mode="cluster"/>\n' >"$k/conf/deploy/cluster.xml"
    cat >"$k/.install/mgconf.txt" <<'MGCONF'
directory|@INSTALLDIR@/kirn/conf|@SHARETOP@/kirn/conf|Y
MGCONF
    : >"$k/.install/mgmasterupdate.txt"
    cat >"$k/.install/mgupdate.txt" <<'UPDATE'
replaceline|@INSTALLDIR@/kirn/conf/profile.kirn|KIRN_CONFDIR=|KIRN_CONFDIR=@SHARETOP@/kirn/conf
UPDATE
    mg_head_line "$top" "KIRN 3.2" kirn "$k"
}

# mg_add_zt [TOPDIR]: the analytics add-on with its own top $T/zt (outside the
# installation top), listed in head.conf of TOPDIR (default $TOP).
mg_add_zt() {
    local z=$T/zt
    mkdir -p "$z/conf" "$z/.install"
    printf 'ZT_CONFDIR=%s/conf\n' "$z" >"$z/conf/profile.zt"
    printf 'retention=30\n' >"$z/conf/zt.conf"
    cat >"$z/.install/mgconf.txt" <<'MGCONF'
file|@HEADTOPDIR@/conf/zt.conf|@SHARETOP@/zt/conf/zt.conf|Y
MGCONF
    : >"$z/.install/mgmasterupdate.txt"
    cat >"$z/.install/mgupdate.txt" <<'UPDATE'
replaceline|@HEADTOPDIR@/conf/profile.zt|ZT_CONFDIR=|ZT_CONFDIR=@SHARETOP@/zt/conf
UPDATE
    mg_head_line "${1:-$TOP}" "ZT 1.0" zt "$z"
}

# expect_no_tmp DIR: no "*.tmp" file is left anywhere under DIR.
expect_no_tmp() {
    local left
    left=$(find "$1" -name '*.tmp')
    [ -z "$left" ] || { echo "--- left behind: $left" >&2; return 1; }
}

# mg_setup_demote: hostB was promoted after the master: the shared cluster file lists
# hostA, hostB and hostC as management hosts, and hostB's environment scripts and orv.conf
# point at $SHARE. The run variables are hostB's on the shared directory; $RCTOP is its
# installation top resolved.
mg_setup_demote() {
    mg_setup_master
    mg_share_master
    mg_setup_candidate hostB
    RCTOP=$(cd "$CTOP" && pwd -P)
    local line='!        !            1     -    -    -   '
    sed -i "/^End Host/i hostB     $line(linux mg)\nhostC     $line(linux mg)" \
        "$SCONF/orv.cluster.cluster1"
    sed -i -e "s|^ORV_CONFDIR=.*|ORV_CONFDIR=$SHARE/kernel/conf|" \
        -e "s|^ORV_OSRVDIR=.*|ORV_OSRVDIR=$SHARE/oservice|" "$CCONF/profile.orv"
    sed -i -e "s|^setenv ORV_CONFDIR .*|setenv ORV_CONFDIR $SHARE/kernel/conf|" \
        -e "s|^setenv ORV_OSRVDIR .*|setenv ORV_OSRVDIR $SHARE/oservice|" "$CCONF/cshrc.orv"
    sed -i "s|^ORV_WORKDIR=.*|ORV_WORKDIR=$SHARE/kernel/work|" "$CCONF/orv.conf"
    ORV_CONFDIR_DIR=$SCONF
}

# ---- Assertions of the bats suites ----

# expect_output: compares $output with the text on standard input exactly.
expect_output() {
    local expected
    expected=$(cat)
    if [ "$output" != "$expected" ]; then
        echo "--- output differs:" >&2
        diff -u <(printf '%s\n' "$expected") <(printf '%s\n' "$output") >&2 || true
        return 1
    fi
}

# ---- Transcripts (tests/cli/*.t, run by cram with bash) ----
# Per case, `fixture VARIANT` lays out a fresh tree in ./t; `orv ARGS...` runs the binary
# there (answers from $ANSWERS, one per word, else none), prints its merged output, then a
# diff of every file the run changed, made or removed under $T (no diff: nothing changed)
# and returns its status; `each CMD ARG...` runs `orv CMD ARG` per ARG (split at blanks),
# each on one line: "ARG: output lines joined by ' | ' [status]", then its diff. $T and its
# resolved path print as "$T".

# skip REASON: ends a transcript as skipped (cram's exit 80). Bats and the benchmarks bring
# their own skip, which is kept.
if ! declare -F skip >/dev/null; then
    skip() {
        echo "skipped: $*" >&2
        exit 80
    }
fi

fixture() {
    BATS_TEST_TMPDIR=$PWD
    orv_release_ports
    rm -rf "$PWD/t" "$PWD/t.before"
    unset ORV_TOP_DIR ORV_CONFDIR_DIR ORV_LOCAL_CONFDIR_DIR VOS_ENVDIR_DIR ORV_UNSET ANSWERS
    case ${1:-plain} in
    plain) orv_setup_tree ;;
    shared) orv_setup_tree && orv_setup_shared_conf ;;
    master) mg_setup_master ;;
    demote) mg_setup_demote ;;
    *) echo "no fixture $1" >&2 && return 2 ;;
    esac
}

orv_paths() { sed -e "s|$(cd "$T" && pwd -P)|\$T|g" -e "s|$T|\$T|g"; }

# orvx ARGS...: the bare run, output and status untouched.
orvx() {
    local -a envs
    mapfile -t envs < <(orv_env)
    # shellcheck disable=SC2086 # one answer per word
    env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" "$@" < <([ -z "${ANSWERS:-}" ] || printf '%s\n' $ANSWERS)
}

# orv_run ARGS...: runs in the tree; output in ./orv.out, diff in ./orv.diff, status returned.
orv_run() {
    rm -rf "$T.before"
    cp -a "$T" "$T.before"
    orvx "$@" >orv.out 2>&1
    local st=$?
    diff -U0 -rN --no-dereference "$T.before" "$T" 2>&1 | sed -e '/^diff /d' -e '/^--- /d' \
        -e '/ is a fifo while file /d' -e 's/^\(+++ .*\)	[0-9-]* [0-9:.]* [+-][0-9]*$/\1/' \
        -e "s|^+++ $T/\([^	]*\).*|+++ \1|" | orv_paths >orv.diff
    return "$st"
}

orv() {
    orv_run "$@"
    local st=$?
    orv_paths <orv.out
    cat orv.diff
    return "$st"
}

each() {
    local cmd=$1 a st
    shift
    for a; do
        # shellcheck disable=SC2086 # ARG holds several words
        orv_run $cmd $a
        st=$?
        printf '%s: %s [%s]\n' "$(orv_paths <<<"$a")" "$(orv_paths <orv.out | sed ':a;N;$!ba;s/\n/ | /g')" "$st"
        cat orv.diff
    done
}

# ---- Ports (setbaseport.t, hovhdfsport.t) ----
# port_profiles TOP: the service controller's profile in both of its places and the rs and
# mrss service profiles of the tree whose configuration is TOP/kernel/conf.
port_profiles() {
    local x='<?xml version="1.0" encoding="UTF-8"?>' env='    <Environment name='
    mkdir -p "$1/oservice/osc/conf/services" "$1/kernel/oservice/osc/conf"
    printf '%s\n<ServiceController>\n    <Parameter name="OSC_PORT">7872</Parameter>\n    <Parameter name="OSC_LOG_LEVEL">WARN</Parameter>\n</ServiceController>\n' "$x" |
        tee "$1/kernel/oservice/osc/conf/orvsc_conf.xml" >"$1/oservice/osc/conf/orvsc_conf.xml"
    printf '%s\n<Service name="RS">\n%s"REPOSITORY_SERVICE_PORT">7873</Environment>\n</Service>\n' "$x" "$env" >"$1/oservice/osc/conf/services/rs.xml"
    printf '<Service name="MRSS">\n%s"HOV_MRSS_SHUFFLE_CLIENT_PORT">7879</Environment>\n%s"HOV_MRSS_SHUFFLE_DATA_WRITE_PORT">7880</Environment>\n</Service>\n' "$env" "$env" >"$1/oservice/osc/conf/services/mrss.xml"
}
# sd_profile FILE: an sd service profile with its two ports.
sd_profile() {
    printf '<Service name="SD">\n    <Environment name="SD_SDK_PORT">7874</Environment>\n    <Environment name="SD_ADMIN_PORT">7875</Environment>\n</Service>\n' >"$1"
}
# rel: ports from $B to $B+19 print as B, B+1, ...: random free bases give fixed transcripts.
rel() { perl -pe 's/(?<!\d)(\d+)(?!\d)/$1 >= $ENV{B} && $1 < $ENV{B} + 20 ? ($1 == $ENV{B} ? "B" : "B+" . ($1 - $ENV{B})) : $1/ge'; }
