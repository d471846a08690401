#!/usr/bin/env bats
# orvconfig masterlist: the new list written to orv.conf (and mirrored into vos.conf),
# every refusal with its exact message and every file left as it was, and the number of
# resolver lookups a run makes.

load helpers

SUCCESS_TAIL='. To make changes take effect, restart ORV on the master host with the command orvsh orv restart.'
NEW_MASTER_MSG='Only existing master candidates can be used as master host (first host in the list). To introduce a new host as master host, append the host name to the list of candidates without changing the existing master host, restart ORV on the master host, then change the order of the list to make the new host as the master host.'
EMPTY_LIST_MSG='You have not input any hosts in the master list. Specify the name of the master host and any master candidates.'

setup() {
    orv_setup_tree
    write_conf_with_list 'hostA hostB'
    write_cluster_file
}

# orv.conf of the default tree with ORV_MASTER_LIST holding $1.
conf_with_list() {
    orv_conf_text "$1"
}

write_conf_with_list() {
    conf_with_list "$1" >"$CONF/orv.conf"
}

# hostA, hostB (by its qualified name) and hostC are management hosts; hostD is not.
cluster_text() {
    local admins=${1:-orvadmin}
    cat <<CLUSTER
Begin ClusterAdmins
Administrators = $admins
End ClusterAdmins

Begin Host
HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
hostA     !        !            1     -    -    -   (linux mg)
hostB.lab.local !        !            1     -    -    -   (linux mg)
hostC     !        !            1     -    -    -   (linux mg)
End Host
CLUSTER
}

write_cluster_file() {
    cluster_text "$@" >"$CONF/orv.cluster.cluster1"
}

# refused ARG MESSAGE: the run fails with MESSAGE then "Command failed.", exit 255, and
# nothing under the installation tree changes.
refused() {
    snapshot "$T"
    run_orv masterlist "$1"
    [ "$status" -eq 255 ]
    printf '%s\nCommand failed.' "$2" | expect_output
    expect_unchanged "$T"
}

@test "the new list is written in stored form and echoed as typed" {
    run_orv masterlist hostB,hostA,hostC
    [ "$status" -eq 0 ]
    echo "The master host failover order is hostB,hostA,hostC$SUCCESS_TAIL" | expect_output
    conf_with_list 'hostB hostA hostC' | expect_file "$CONF/orv.conf"
    cluster_text | expect_file "$CONF/orv.cluster.cluster1"
    expect_no_tmp "$T"
}

@test "-f is accepted, empty items vanish, and the current master may leave the list" {
    run_orv masterlist ,hostB,,hostC, -f
    [ "$status" -eq 0 ]
    echo "The master host failover order is ,hostB,,hostC,$SUCCESS_TAIL" | expect_output
    conf_with_list 'hostB hostC' | expect_file "$CONF/orv.conf"
}

@test "the first run from the placeholder value cannot name a master" {
    write_conf_with_list '@ORV_MASTER_LIST@'
    refused hostA "$NEW_MASTER_MSG"
}

@test "names are checked in the order of the list" {
    refused hostA,10.0.0.2 '[10.0.0.2] is not a valid host name.'
    refused hostA,ghost,10.0.0.2 '[ghost] is not a valid host name.'
    refused 0x0a.0.0.1,ghost '[0x0a.0.0.1] is not a valid host name.'
    refused hostA,10.1 '[10.1] is not a valid host name.'
}

@test "a host given twice is refused under any of its names" {
    refused hostA,hostB,hostB.lab.local \
        'You have input the host "hostB.lab.local" more than once in the master list. Do not duplicate host names in the list.'
    refused hostA,HOSTA \
        'You have input the host "HOSTA" more than once in the master list. Do not duplicate host names in the list.'
    refused hostB.lab.local,hostC,hostb \
        'You have input the host "hostb" more than once in the master list. Do not duplicate host names in the list.'
}

@test "every host must be a management host" {
    refused hostA,hostD \
        'The host hostD cannot be a master candidate because it is not a management host. Run "orvconfig mghost" to configure the host as a management host.'
}

@test "a management host that is not yet a candidate cannot come first" {
    refused hostC,hostA "$NEW_MASTER_MSG"
    run_orv masterlist hostA,hostB,hostC
    [ "$status" -eq 0 ]
    conf_with_list 'hostA hostB hostC' | expect_file "$CONF/orv.conf"
    run_orv masterlist hostC,hostA
    [ "$status" -eq 0 ]
    conf_with_list 'hostC hostA' | expect_file "$CONF/orv.conf"
}

@test "an empty list is refused" {
    refused , "$EMPTY_LIST_MSG"
    refused ,,, "$EMPTY_LIST_MSG"
}

@test "a commented key line is not the list, but is rewritten with it" {
    cat >"$CONF/orv.conf" <<'CONF'
#ORV_MASTER_LIST="hostC hostA"
ORV_LIM_PORT=7869	
ORV_MASTER_LIST="hostA hostB"
CONF
    refused hostC,hostA "$NEW_MASTER_MSG"
    run_orv masterlist hostB,hostC
    [ "$status" -eq 0 ]
    expect_file "$CONF/orv.conf" <<'CONF'
ORV_MASTER_LIST="hostB hostC"
ORV_LIM_PORT=7869
ORV_MASTER_LIST="hostB hostC"
CONF
}

@test "orv.conf without the key is refused with the file named" {
    sed -i '/^ORV_MASTER_LIST=/d' "$CONF/orv.conf"
    refused hostA \
        "The parameter [ORV_MASTER_LIST] cannot be found in file [$CONF/orv.conf]. Please check your configuration file."
}

@test "an orv.conf that is a directory or a FIFO cannot be opened" {
    rm "$CONF/orv.conf"
    mkdir "$CONF/orv.conf"
    refused hostA "Cannot open file $CONF/orv.conf."
    rmdir "$CONF/orv.conf"
    mkfifo "$CONF/orv.conf"
    refused hostA "Cannot open file $CONF/orv.conf."
}

@test "a missing orv.conf fails without touching anything" {
    rm "$CONF/orv.conf"
    snapshot "$T"
    run_orv masterlist hostA
    [ "$status" -eq 255 ]
    echo 'Command failed.' | expect_output
    expect_unchanged "$T"
}

@test "no cluster name and a caller who is not an administrator are refused" {
    write_cluster_file someoneelse
    refused hostA 'You must be cluster administrator [someoneelse] to use orvconfig.'
    write_cluster_file
    printf 'Begin Cluster\nClusterName\nEnd Cluster\n' >"$CONF/orv.shared"
    refused hostA 'Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt.'
}

@test "a 10,000-character argument is neither truncated nor a crash" {
    local long
    long=$(head -c 10000 /dev/zero | tr '\0' 'x')
    refused "hostA,$long" "[$long] is not a valid host name."

    local commas
    commas=$(head -c 10000 /dev/zero | tr '\0' ',')
    run_orv masterlist "hostB${commas}hostA"
    [ "$status" -eq 0 ]
    echo "The master host failover order is hostB${commas}hostA$SUCCESS_TAIL" | expect_output
    conf_with_list 'hostB hostA' | expect_file "$CONF/orv.conf"
}

@test "the list is mirrored into vos.conf of VOS_ENVDIR" {
    VOS_ENVDIR_DIR=$T/vos
    mkdir -p "$VOS_ENVDIR_DIR"
    printf '# batch\r\nVOS_MASTER_LIST="hostA hostB"\nVOS_PORT=6881\t\n#VOS_MASTER_LIST="old"\n' \
        >"$VOS_ENVDIR_DIR/vos.conf"
    run_orv masterlist hostB,hostA
    [ "$status" -eq 0 ]
    echo "The master host failover order is hostB,hostA$SUCCESS_TAIL" | expect_output
    conf_with_list 'hostB hostA' | expect_file "$CONF/orv.conf"
    expect_file "$VOS_ENVDIR_DIR/vos.conf" <<'VOS'
# batch
VOS_MASTER_LIST="hostB hostA"
VOS_PORT=6881
VOS_MASTER_LIST="hostB hostA"
VOS
    expect_no_tmp "$T"
}

@test "a refusal leaves vos.conf alone; without vos.conf none is made" {
    VOS_ENVDIR_DIR=$T/vos
    mkdir -p "$VOS_ENVDIR_DIR"
    printf 'VOS_MASTER_LIST="hostA hostB"\n' >"$VOS_ENVDIR_DIR/vos.conf"
    refused hostD,hostA \
        'The host hostD cannot be a master candidate because it is not a management host. Run "orvconfig mghost" to configure the host as a management host.'
    rm "$VOS_ENVDIR_DIR/vos.conf"
    run_orv masterlist hostB,hostA
    [ "$status" -eq 0 ]
    [ ! -e "$VOS_ENVDIR_DIR/vos.conf" ]
    conf_with_list 'hostB hostA' | expect_file "$CONF/orv.conf"
}

# A login beginning with "root" restores the recorded modes after the edit; the record of
# vos.conf is only made when orv.conf could not be examined, so here it is never applied.
@test "a root-prefixed login keeps every file's own mode" {
    ORV_LOGIN=rootadm
    orv_write_nss
    write_cluster_file rootadm
    VOS_ENVDIR_DIR=$T/vos
    mkdir -p "$VOS_ENVDIR_DIR"
    printf 'VOS_MASTER_LIST="hostA hostB"\n' >"$VOS_ENVDIR_DIR/vos.conf"
    chmod 640 "$VOS_ENVDIR_DIR/vos.conf"
    chmod 604 "$CONF/orv.conf"
    run_orv masterlist hostB,hostA
    [ "$status" -eq 0 ]
    [ "$(stat -c %a "$VOS_ENVDIR_DIR/vos.conf")" = 640 ]
    [ "$(stat -c %a "$CONF/orv.conf")" = 604 ]
    printf 'VOS_MASTER_LIST="hostB hostA"\n' | expect_file "$VOS_ENVDIR_DIR/vos.conf"
}

# run_orv_counting ARGS...: run_orv with a shim ahead of the resolver simulation that
# logs every host lookup to $LOOKUPS.
run_orv_counting() {
    command -v cc >/dev/null || skip "no C compiler for the lookup shim"
    local shim=$BATS_TEST_TMPDIR/lookup_count_shim.so
    cc -shared -fPIC -o "$shim" "$BATS_TEST_DIRNAME/lookup_count_shim.c" -ldl
    LOOKUPS=$BATS_TEST_TMPDIR/lookups
    : >"$LOOKUPS"
    local -a envs
    mapfile -t envs < <(orv_env)
    envs=("${envs[@]/#LD_PRELOAD=*/LD_PRELOAD=$shim:$NSS_WRAPPER_LIB}")
    run env -i PATH="$PATH" "${envs[@]}" ORV_LOOKUP_LOG="$LOOKUPS" "$ORVCONFIG" "$@" </dev/null
}

@test "each distinct host name is looked up once" {
    run_orv_counting masterlist hostB,hostA.lab.local,hostC
    [ "$status" -eq 0 ]
    echo "The master host failover order is hostB,hostA.lab.local,hostC$SUCCESS_TAIL" | expect_output
    # New list, cluster file and current list name five distinct strings between them.
    LC_ALL=C sort "$LOOKUPS" >"$LOOKUPS.sorted"
    expect_file "$LOOKUPS.sorted" <<'LOG'
getaddrinfo hostA
getaddrinfo hostA.lab.local
getaddrinfo hostB
getaddrinfo hostB.lab.local
getaddrinfo hostC
LOG
}

@test "a refused duplicate still costs one lookup per name" {
    snapshot "$T"
    run_orv_counting masterlist hostA,hostB,hostC,hostb,hostB
    [ "$status" -eq 255 ]
    printf '%s\nCommand failed.' 'You have input the host "hostb" more than once in the master list. Do not duplicate host names in the list.' | expect_output
    LC_ALL=C sort "$LOOKUPS" >"$LOOKUPS.sorted"
    expect_file "$LOOKUPS.sorted" <<'LOG'
getaddrinfo hostA
getaddrinfo hostB
getaddrinfo hostC
getaddrinfo hostb
LOG
    expect_unchanged "$T"
}
