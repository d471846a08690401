# shellcheck shell=bash disable=SC2016,SC2034
# The fixture trees of the transcripts (tests/cli/*.t), also sourced by the reliability
# driver and bench/. Identity (host name, resolver, login name) is
# simulated with nss_wrapper, so the binary runs unmodified. orv_setup_tree lays out
# T=$FIXTURE_DIR/t: $TOP (ORV_TOP), $CONF=$TOP/kernel/conf (ORV_CONFDIR and
# ORV_LOCAL_CONFDIR: orv.conf, orv.shared, orv.cluster.cluster1, ResourceGroups.xml), $SHARE
# (an empty shared top) and $T/nss. Hosts hostA (this host) to hostD resolve, canonical
# <host>.lab.local; "ghost" does not. The login name is orvadmin.
ORVCONFIG=${ORVCONFIG:-orvconfig}
NSS_WRAPPER_LIB=${NSS_WRAPPER_LIB:-$(for d in /usr/lib/x86_64-linux-gnu /usr/lib64 /usr/lib; do
    [ -e "$d/libnss_wrapper.so" ] && echo "$d/libnss_wrapper.so" && break; done)}
# skip REASON: a transcript ends as skipped (cram's exit 80), its reason left for
# tests/cli/transcript.sh to print; a caller's own skip is kept.
declare -F skip >/dev/null || skip() { echo "$*" >"${ORV_SKIP_NOTE:-/dev/stderr}"; exit 80; }

orv_setup_tree() {
    [ -n "$NSS_WRAPPER_LIB" ] || skip "libnss-wrapper is not installed"
    T=$FIXTURE_DIR/t TOP=$FIXTURE_DIR/t/top SHARE=$FIXTURE_DIR/t/share
    CONF=$TOP/kernel/conf ORV_HOSTNAME=hostA ORV_LOGIN=orvadmin
    mkdir -p "$CONF" "$SHARE" "$T/nss" "$TOP/oservice/osc/conf/services" && orv_write_nss && orv_write_default_conf "$CONF"
}
# The real uid is mapped to $ORV_LOGIN, so that getpwuid(getuid()) yields it.
orv_write_nss() {
    printf '%s:x:%s:%s:Cluster admin:/nonexistent:/bin/sh\n' "$ORV_LOGIN" "$(id -u)" "$(id -g)" >"$T/nss/passwd"
    printf 'orvgrp:x:%s:\n' "$(id -g)" >"$T/nss/group"
    { echo '127.0.0.1 localhost' && printf '10.0.0.%s host%s.lab.local host%s\n' 1 A A 2 B B 3 C C 4 D D; } >"$T/nss/hosts"
}
# orv_write_shared_and_cluster DIR [HOSTLINE...]: orv.shared naming cluster1 and its cluster
# file (administrator orvadmin) with the given host lines.
orv_write_shared_and_cluster() {
    local d=$1
    shift
    printf 'Begin Cluster\nClusterName\ncluster1\nEnd Cluster\n' >"$d/orv.shared"
    printf '%s\n' 'Begin ClusterAdmins' 'Administrators = orvadmin' 'End ClusterAdmins' '' 'Begin Host' \
        'HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords' "$@" 'End Host' >"$d/orv.cluster.cluster1"
}
# orv_write_default_conf DIR [RESOURCE_LIST]: orv.conf, orv.shared, the cluster file and
# ResourceGroups.xml, whose management hosts' list holds RESOURCE_LIST (a placeholder).
orv_write_default_conf() {
    printf '%s\n' '# ORV kernel configuration' 'ORV_MASTER_LIST="@ORV_MASTER_LIST@"' ORV_LIM_PORT=7869 \
        ORV_KD_PORT=7870 ORV_PEM_PORT=7871 ORV_GET_CONF=lim ORV_WORKDIR=/opt/orv/kernel/work >"$1/orv.conf"
    orv_write_shared_and_cluster "$1"
    printf '%s\n' '<?xml version="1.0" encoding="UTF-8"?>' '<ResourceGroups>' \
        '    <ResourceGroup ResourceGroupName="ManagementHosts">' '        <ResourceList>' "${2:-@ORV_MASTER@}" \
        '        </ResourceList>' '    </ResourceGroup>' '    <ResourceGroup ResourceGroupName="ComputeHosts">' \
        '        <ResourceRequirement>select(!mg)</ResourceRequirement>' '    </ResourceGroup>' '</ResourceGroups>' \
        >"$1/ResourceGroups.xml"
}
# The environment of a run, one VAR=VALUE a line. A case may set ORV_TOP_DIR,
# ORV_CONFDIR_DIR, ORV_LOCAL_CONFDIR_DIR, VOS_ENVDIR_DIR, ORV_HOSTNAME, LD_PRELOAD_SHIM,
# ORV_LOOKUP_LOG, and ORV_UNSET="VAR ..." to leave variables out. Without DEEPBIND off the
# wrapper would load libc with RTLD_DEEPBIND, which the sanitizer runtime refuses.
orv_env() {
    printf '%s\n' "LD_PRELOAD=${LD_PRELOAD_SHIM:+$LD_PRELOAD_SHIM:}$NSS_WRAPPER_LIB" "NSS_WRAPPER_PASSWD=$T/nss/passwd" \
        "NSS_WRAPPER_GROUP=$T/nss/group" "NSS_WRAPPER_HOSTS=$T/nss/hosts" "NSS_WRAPPER_HOSTNAME=$ORV_HOSTNAME" \
        "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=1" "NSS_WRAPPER_DISABLE_DEEPBIND=1" \
        "ORV_TOP=${ORV_TOP_DIR:-$TOP}" "ORV_CONFDIR=${ORV_CONFDIR_DIR:-$CONF}" "ORV_LOCAL_CONFDIR=${ORV_LOCAL_CONFDIR_DIR:-$CONF}" \
        ${VOS_ENVDIR_DIR:+"VOS_ENVDIR=$VOS_ENVDIR_DIR"} ${ORV_LOOKUP_LOG:+"ORV_LOOKUP_LOG=$ORV_LOOKUP_LOG"} "ORVCONFIG_STATE_DIR=$T.state" |
        grep -v -E "^(${ORV_UNSET:+${ORV_UNSET// /|}})=" || true
}

# ---- Ports: real sockets on this machine (IPv4 wildcard, and IPv6 v6-only where it exists) ----
_ORV_PERL_BIND='use strict; use Socket qw(:all);
sub bind_port { my ($p, $keep) = @_; my $s4;
    socket($s4, AF_INET, SOCK_STREAM, 0) and bind($s4, pack_sockaddr_in($p, INADDR_ANY)) or return 0;
    if ($keep) { listen($s4, 5); push @$keep, $s4 }
    if (socket(my $s6, AF_INET6, SOCK_STREAM, 0)) { setsockopt($s6, IPPROTO_IPV6, IPV6_V6ONLY, 1);
        bind($s6, pack_sockaddr_in6($p, IN6ADDR_ANY)) or return 0; if ($keep) { listen($s6, 5); push @$keep, $s6 } }
    return 1 }'
# orv_free_base SPAN: a random base in 20000..49999 whose SPAN ports are free right now.
orv_free_base() {
    perl -e "$_ORV_PERL_BIND"'for (1 .. 300) { my $b = 20000 + int(rand(30000)); my $ok = 1;
        for my $p ($b .. $b + $ARGV[0] - 1) { $ok = 0, last unless bind_port($p) }
        if ($ok) { print "$b\n"; exit 0 } } exit 1;' "$1"
}
# orv_ports_free BASE SPAN: succeeds when the SPAN ports from BASE are free right now.
orv_ports_free() { perl -e "$_ORV_PERL_BIND"'bind_port($_) or exit 1 for $ARGV[0] .. $ARGV[0] + $ARGV[1] - 1' "$1" "$2"; }
# orv_hold_ports PORT...: keeps the ports bound by a background process until the next fixture.
orv_hold_ports() {
    local ready=$FIXTURE_DIR/ports-held.$RANDOM i
    perl -e "$_ORV_PERL_BIND"'my ($ready, @ports) = @ARGV; my @held;
        for (@ports) { bind_port($_, \@held) or die "cannot bind $_: $!\n" } open(my $f, ">", $ready); sleep 300;' \
        "$ready" "$@" 3>&- &
    ORV_HOLDER_PIDS="${ORV_HOLDER_PIDS:-} $!"
    for i in $(seq 100); do [ -e "$ready" ] && return 0; kill -0 "$!" 2>/dev/null || break; sleep 0.05; done
    echo "could not hold ports $*" >&2 && return 1
}
orv_release_ports() { local p; for p in ${ORV_HOLDER_PIDS:-}; do kill "$p" && wait "$p"; done 2>/dev/null; ORV_HOLDER_PIDS=; }
# rel: ports from $B to $B+19 print as B, B+1, ...: random free bases give fixed transcripts.
rel() { perl -pe 's/(?<!\d)(\d+)(?!\d)/$1 >= $ENV{B} && $1 < $ENV{B} + 20 ? ($1 == $ENV{B} ? "B" : "B+" . ($1 - $ENV{B})) : $1/ge'; }

# ---- Management hosts ----
# mg_write_host_conf DIR TOP LIST: a host installed in TOP whose orv.conf names LIST as the
# master candidates, hostA in the cluster file, environment scripts and two service profiles.
mg_write_host_conf() {
    local d=$1 top=$2 v
    mkdir -p "$d/services/profiles"
    orv_write_default_conf "$d" '            <Resource>hostA</Resource>'
    printf '%s\n' '# ORV kernel configuration' "ORV_MASTER_LIST=\"$3\"" ORV_LIM_PORT=7869 ORV_KD_PORT=7870 \
        "ORV_WORKDIR=$top/kernel/work" >"$d/orv.conf"
    orv_write_shared_and_cluster "$d" 'hostA     !        !           1      -    -    -    (linux)'
    echo "ORV_TOP=$top" >"$d/profile.orv"
    echo "setenv ORV_TOP $top" >"$d/cshrc.orv"
    for v in ORV_CONFDIR=kernel/conf ORV_LOCAL_CONFDIR=kernel/conf ORV_OSRVDIR=oservice; do
        echo "${v%%=*}=\$ORV_TOP/${v#*=}" >>"$d/profile.orv"
        echo "setenv ${v%%=*} \$ORV_TOP/${v#*=}" >>"$d/cshrc.orv"
    done
    echo 'export ORV_TOP ORV_CONFDIR ORV_LOCAL_CONFDIR ORV_OSRVDIR' >>"$d/profile.orv"
    printf '<Service name="rs">\n\t<Port>7875</Port>  \n</Service>\n' >"$d/services/rs.xml"
    printf 'PROFILE_VERSION=2\n' >"$d/services/profiles/default.conf"
    chmod 600 "$d/services/profiles/default.conf"
}
# mg_product TOPDIR NAME KEYWORD DIR MGCONF MASTERUPDATE UPDATE: a product's change scripts in
# DIR/.install, listed in TOPDIR/.install/head.conf (NAME empty: the kernel's own, in TOPDIR).
mg_product() {
    mkdir -p "$4/.install"
    printf '%s\n' "$5" >"$4/.install/mgconf.txt"
    printf '%s' "${6:+$6$'\n'}" >"$4/.install/mgmasterupdate.txt"
    printf '%s\n' "$7" >"$4/.install/mgupdate.txt"
    if [ -n "$2" ]; then printf '%s;%s;%s\n' "$2" "$3" "$4" >>"$1/.install/head.conf"; fi
}
mg_write_kernel_install() {
    local f l=()
    for f in orv.conf orv.shared orv.cluster.@CLUSTERNAME@ ResourceGroups.xml; do l+=("file|@ORV_CONFDIR@/$f|@SHARETOP@/kernel/conf/$f|Y"); done
    mg_product "$1" '' '' "$1" "$(printf '%s\n' "# files every management host reads from the shared directory" "${l[@]}" \
        'directory|@ORV_CONFDIR@/services|@SHARETOP@/kernel/conf/services|Y')" \
        'replacestring|@SHARETOP@/kernel/conf/orv.conf|ORV_WORKDIR=|ORV_WORKDIR=@SHARETOP@/kernel/work
addline|@SHARETOP@/kernel/conf/orv.conf|ORV_SHARED_CONFDIR=|ORV_SHARED_CONFDIR=@SHARETOP@/kernel/conf' \
        'replaceline|@ORV_CONFDIR@/profile.orv|ORV_CONFDIR=|ORV_CONFDIR=@SHARETOP@/kernel/conf
replaceline|@ORV_CONFDIR@/profile.orv|ORV_OSRVDIR=|ORV_OSRVDIR=@SHARETOP@/oservice
replaceline|@ORV_CONFDIR@/cshrc.orv|setenv ORV_CONFDIR|setenv ORV_CONFDIR @SHARETOP@/kernel/conf
replaceline|@ORV_CONFDIR@/cshrc.orv|setenv ORV_OSRVDIR|setenv ORV_OSRVDIR @SHARETOP@/oservice
replacestring|@ORV_CONFDIR@/orv.conf|ORV_WORKDIR=|ORV_WORKDIR=@SHARETOP@/kernel/work'
    printf '# installed products: name;keyword;top directory\n' >"$1/.install/head.conf"
}
# mg_setup_master: hostA, first of ORV_MASTER_LIST, on its local configuration with the
# kernel's change scripts; $RSHARE is $SHARE resolved.
mg_setup_master() {
    orv_setup_tree
    mg_write_host_conf "$CONF" "$TOP" "hostA hostB hostC"
    mg_write_kernel_install "$TOP"
    RSHARE=$(cd "$SHARE" && pwd -P)
}
# mg_setup_candidate HOST: another host installed in $CTOP=$T/top-HOST with its own local
# configuration $CCONF; the run variables are switched to it.
mg_setup_candidate() {
    CTOP=$T/top-$1 CCONF=$T/top-$1/kernel/conf ORV_HOSTNAME=$1
    mkdir -p "$CCONF"
    mg_write_host_conf "$CCONF" "$CTOP" "hostA hostB hostC"
    mg_write_kernel_install "$CTOP"
    ORV_TOP_DIR=$CTOP ORV_CONFDIR_DIR=$CCONF ORV_LOCAL_CONFDIR_DIR=$CCONF
}
# mg_share_master: the state a promotion of hostA onto $SHARE leaves ($SCONF, hostA marked
# mg), and the run variables of a host using $SHARE.
mg_share_master() {
    SCONF=$SHARE/kernel/conf ORV_CONFDIR_DIR=$SHARE/kernel/conf
    mkdir -p "$SCONF"
    cp "$CONF/orv.conf" "$CONF/orv.shared" "$SCONF/"
    sed 's/^hostA .*/hostA     !        !            1     -    -    -   (mg linux)/' "$CONF/orv.cluster.cluster1" >"$SCONF/orv.cluster.cluster1"
    sed -e '/<ResourceList>/,/<\/ResourceList>/d' \
        -e 's|ResourceGroupName="ManagementHosts">|&\n        <ResourceRequirement>select(mg)</ResourceRequirement>|' \
        "$CONF/ResourceGroups.xml" >"$SCONF/ResourceGroups.xml"
}
# mg_setup_demote: hostB was promoted after the master: the shared cluster file lists hostA,
# hostB and hostC as management hosts, hostB's scripts and orv.conf point at $SHARE. The run
# variables are hostB's on the shared directory; $RCTOP is its top resolved.
mg_setup_demote() {
    mg_setup_master
    mg_share_master
    mg_setup_candidate hostB
    RCTOP=$(cd "$CTOP" && pwd -P) ORV_CONFDIR_DIR=$SCONF
    local line='!        !            1     -    -    -   '
    sed -i "/^End Host/i hostB     $line(linux mg)\nhostC     $line(linux mg)" "$SCONF/orv.cluster.cluster1"
    sed -i -e "s|^\(ORV_CONFDIR=\).*|\1$SHARE/kernel/conf|" -e "s|^\(ORV_OSRVDIR=\).*|\1$SHARE/oservice|" \
        -e "s|^\(setenv ORV_CONFDIR \).*|\1$SHARE/kernel/conf|" -e "s|^\(setenv ORV_OSRVDIR \).*|\1$SHARE/oservice|" \
        -e "s|^\(ORV_WORKDIR=\).*|\1$SHARE/kernel/work|" "$CCONF/profile.orv" "$CCONF/cshrc.orv" "$CCONF/orv.conf"
}
# mg_add_vos [TOPDIR], mg_add_kirn [TOPDIR], mg_add_zt [TOPDIR]: the batch product (its
# vos.conf names the cluster of TOPDIR), the middleware (its conf directory copied whole)
# and the analytics add-on (its own top $T/zt), listed in head.conf of TOPDIR (default $TOP).
mg_add_vos() {
    local top=${1:-$TOP} v=${1:-$TOP}/vos
    mkdir -p "$v/conf"
    printf 'VOS_TOP=%s\nVOS_ORV_ENVDIR=%s\nVOS_MASTER_LIST="hostA hostB hostC"\n' "$v" "$top/kernel/conf" >"$v/conf/vos.conf"
    printf 'VOS_ENVDIR=$VOS_TOP/conf\nexport VOS_ENVDIR\n' >"$v/conf/profile.vos"
    printf 'setenv VOS_ENVDIR $VOS_TOP/conf\n' >"$v/conf/cshrc.vos"
    mg_product "$top" "VOS 10.1" vos "$v" 'file|@INSTALLDIR@/vos/conf/vos.conf|@SHARETOP@/vos/conf/vos.conf|Y' \
        'replacestring|@SHARETOP@/vos/conf/vos.conf|VOS_ORV_ENVDIR=|VOS_ORV_ENVDIR=@SHARETOP@/kernel/conf' \
        'replaceline|@INSTALLDIR@/vos/conf/profile.vos|VOS_ENVDIR=|VOS_ENVDIR=@SHARETOP@/vos/conf
replaceline|@INSTALLDIR@/vos/conf/cshrc.vos|setenv VOS_ENVDIR|setenv VOS_ENVDIR @SHARETOP@/vos/conf'
}
mg_add_kirn() {
    local k=${1:-$TOP}/kirn
    mkdir -p "$k/conf/deploy"
    printf 'KIRN_VERSION=3.2\nKIRN_CONFDIR=%s/conf\n' "$k" >"$k/conf/profile.kirn"
    printf '<deploy mode="cluster"/>\n' >"$k/conf/deploy/cluster.xml"
    mg_product "${1:-$TOP}" "KIRN 3.2" kirn "$k" 'directory|@INSTALLDIR@/kirn/conf|@SHARETOP@/kirn/conf|Y' '' \
        'replaceline|@INSTALLDIR@/kirn/conf/profile.kirn|KIRN_CONFDIR=|KIRN_CONFDIR=@SHARETOP@/kirn/conf'
}
mg_add_zt() {
    mkdir -p "$T/zt/conf"
    printf 'ZT_CONFDIR=%s/conf\n' "$T/zt" >"$T/zt/conf/profile.zt"
    printf 'retention=30\n' >"$T/zt/conf/zt.conf"
    mg_product "${1:-$TOP}" "ZT 1.0" zt "$T/zt" 'file|@HEADTOPDIR@/conf/zt.conf|@SHARETOP@/zt/conf/zt.conf|Y' '' \
        'replaceline|@HEADTOPDIR@/conf/profile.zt|ZT_CONFDIR=|ZT_CONFDIR=@SHARETOP@/zt/conf'
}

# ---- Transcripts ----
# `fixture VARIANT` (plain, shared, master, demote) lays out a fresh tree in ./t; `orv ARGS`
# runs the binary there (answers from $ANSWERS, one per word), prints its merged output,
# then a diff -U0 of every file the run changed, made or removed ("+++ path" each; no diff:
# nothing changed) and returns its status; `each CMD ARG...` runs `orv CMD ARG` per ARG
# (ARG as shell words), one line each: "CMD ARG: output lines joined by ' | ' [status]", then its
# diff. $T and its resolved path print as "$T"; `names` reduces each diff to one line
# "+++ path path ...".
fixture() {
    FIXTURE_DIR=$PWD && orv_release_ports && rm -rf "$PWD/t" "$PWD/t.before" "$PWD/t.state"
    unset ORV_TOP_DIR ORV_CONFDIR_DIR ORV_LOCAL_CONFDIR_DIR VOS_ENVDIR_DIR ORV_UNSET ANSWERS
    case ${1:-plain} in
        plain) orv_setup_tree ;;
        shared) orv_setup_tree && SCONF=$SHARE/kernel/conf SSERVICES=$SHARE/oservice/osc/conf/services &&
            mkdir -p "$SCONF" "$SSERVICES" && orv_write_default_conf "$SCONF" && ORV_CONFDIR_DIR=$SCONF ;;
        master) mg_setup_master ;;
        demote) mg_setup_demote ;;
    esac
}
orv_paths() { sed -e "s|$(cd "$T" && pwd -P)|\$T|g" -e "s|$T|\$T|g"; }
names() { sed '/^[-+@]/{/^+++ /!d}' | awk '/^\+\+\+ /{f = f " " substr($0, 5); next} f {print "+++" f; f = ""} 1; END {if (f) print "+++" f}'; }
# orvx ARGS...: the bare run, output and status untouched.
orvx() {
    local -a envs && mapfile -t envs < <(orv_env)
    # shellcheck disable=SC2086 # one answer per word
    env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" "$@" < <([ -z "${ANSWERS:-}" ] || printf '%s\n' $ANSWERS)
}
# orv_run ARGS...: runs in the tree; output in ./orv.out, diff in ./orv.diff, status returned.
orv_run() {
    rm -rf "$T.before" && cp -a "$T" "$T.before" && orvx "$@" >orv.out 2>&1
    local st=$?
    diff -U0 -rN --no-dereference "$T.before" "$T" 2>&1 | sed -e '/^diff /d' -e '/^--- /d' -e '/ is a fifo while file /d' \
        -e 's/^\(+++ .*\)	[0-9-]* [0-9:.]* [+-][0-9]*$/\1/' -e "s|^+++ $T/\([^	]*\).*|+++ \1|" | orv_paths >orv.diff
    return "$st"
}
orv() { orv_run "$@"; local st=$?; orv_paths <orv.out && cat orv.diff && return "$st"; }
each() {
    local cmd=$1 a st
    for a in "${@:2}"; do
        eval "orv_run $cmd $a"
        st=$?
        printf '%s: %s [%s]\n' "$(orv_paths <<<"${cmd:+$cmd }$a")" "$(orv_paths <orv.out | sed ':a;N;$!ba;s/\n/ | /g')" "$st" && cat orv.diff
    done
}
