#!/usr/bin/env bats
# orvconfig join: new cluster, joining an existing one, the no-change outcomes and every
# refusal (with every file left as it was).

load helpers

setup() {
    orv_setup_tree
}

# orv.conf of the default tree once this host names MASTER as its master.
conf_naming_master() {
    orv_conf_text "$1"
}

# The three files of a new cluster whose master line names $1.
expect_new_cluster_files() {
    conf_naming_master "$1" | grep -v '^ORV_GET_CONF=' | expect_file "$CONF/orv.conf"
    expect_file "$CONF/orv.cluster.cluster1" <<CLUSTER
Begin ClusterAdmins
Administrators = orvadmin
End ClusterAdmins

Begin Host
HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
$(printf '%-10s' "$1")!        !            1     -    -    -   (linux)
End Host
CLUSTER
    expect_file "$CONF/ResourceGroups.xml" <<RG
<?xml version="1.0" encoding="UTF-8"?>
<ResourceGroups>
    <ResourceGroup ResourceGroupName="ManagementHosts">
        <ResourceList>
            <ResourceEntry ResourceID="$1"/>
        </ResourceList>
    </ResourceGroup>
    <ResourceGroup ResourceGroupName="ComputeHosts">
        <ResourceRequirement>select(!mg)</ResourceRequirement>
    </ResourceGroup>
</ResourceGroups>
RG
}

set_master_list() {
    sed -i "s/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST=\"$1\"/" "$CONF/orv.conf"
}

answer() {
    # shellcheck disable=SC2059 # the answers are written with printf's escapes (\n)
    printf "$1" >"$BATS_TEST_TMPDIR/answers"
    ORV_STDIN=$BATS_TEST_TMPDIR/answers
}

new_cluster_prompt='You are about to create a new cluster with this host as the master host.  Do you want to continue? [y/n]'

@test "join this host with -f creates a new cluster: orv.conf, cluster file and resource group" {
    run_orv join hostA -f
    [ "$status" -eq 0 ]
    expect_output <<<'A new cluster <cluster1> has been created. The host <hostA> is the master host.'
    expect_new_cluster_files hostA
}

@test "join this host after answering y at the prompt; answers other than y/n repeat it" {
    answer 'Y\n\nyes\n'
    run_orv join hostA
    [ "$status" -eq 0 ]
    expect_output <<<"${new_cluster_prompt}${new_cluster_prompt}${new_cluster_prompt}A new cluster <cluster1> has been created. The host <hostA> is the master host."
    expect_new_cluster_files hostA
}

@test "join by short name while gethostname gives the qualified name creates a new cluster" {
    ORV_HOSTNAME=hostA.lab.local
    run_orv join hostA -f
    [ "$status" -eq 0 ]
    expect_output <<<'A new cluster <cluster1> has been created. The host <hostA> is the master host.'
    expect_new_cluster_files hostA
}

@test "an existing line of this host in the cluster file is replaced by the new master line" {
    cat >"$CONF/orv.cluster.cluster1" <<'CLUSTER'
Begin ClusterAdmins
Administrators = orvadmin
End ClusterAdmins

Begin Host
HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
hostB     !        !            1     -    -    -   (linux mg)
hostA.lab.local	!	!	1	-	-	-	(linux mg)
End Host
CLUSTER
    run_orv join hostA -f
    [ "$status" -eq 0 ]
    expect_file "$CONF/orv.cluster.cluster1" <<'CLUSTER'
Begin ClusterAdmins
Administrators = orvadmin
End ClusterAdmins

Begin Host
HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
hostA     !        !            1     -    -    -   (linux)
hostB     !        !            1     -    -    -   (linux mg)
End Host
CLUSTER
}

@test "join an existing cluster with -f changes only the master list of orv.conf" {
    snapshot "$CONF"
    cp "$CONF/orv.cluster.cluster1" "$CONF/ResourceGroups.xml" "$BATS_TEST_TMPDIR/"
    run_orv join ' hostB	' -f
    [ "$status" -eq 0 ]
    expect_output <<<'The host hostA has joined the cluster cluster1.'
    conf_naming_master hostB | expect_file "$CONF/orv.conf"
    cmp "$CONF/orv.cluster.cluster1" "$BATS_TEST_TMPDIR/orv.cluster.cluster1"
    cmp "$CONF/ResourceGroups.xml" "$BATS_TEST_TMPDIR/ResourceGroups.xml"
}

@test "join an existing cluster after y names the master in the prompt" {
    answer 'y\n'
    ORV_HOSTNAME=hostC.lab.local
    run_orv join hostB.lab.local
    [ "$status" -eq 0 ]
    expect_output <<<'You are about to join this host to a cluster with master host hostB.lab.local.  Do you want to continue? [y/n]The host hostC.lab.local has joined the cluster cluster1.'
    conf_naming_master hostB.lab.local | expect_file "$CONF/orv.conf"
}

@test "a commented master list line is left alone and the indented key line is rewritten" {
    cat >"$CONF/orv.conf" <<'CONF'
#ORV_MASTER_LIST="old"
   ORV_MASTER_LIST=""
ORV_LIM_PORT=7869
CONF
    run_orv join hostB -f
    [ "$status" -eq 0 ]
    expect_file "$CONF/orv.conf" <<'CONF'
#ORV_MASTER_LIST="old"
ORV_MASTER_LIST="hostB"
ORV_LIM_PORT=7869
CONF
}

@test "answer n, or end of input, is a no-change success" {
    snapshot "$CONF"
    answer 'n\n'
    run_orv join hostA
    [ "$status" -eq 0 ]
    expect_output <<<"${new_cluster_prompt}No change"
    expect_unchanged "$CONF"

    ORV_STDIN=/dev/null
    run_orv join hostB
    [ "$status" -eq 0 ]
    expect_output <<<'You are about to join this host to a cluster with master host hostB.  Do you want to continue? [y/n]No change'
    expect_unchanged "$CONF"
}

@test "naming a master of this host's list again changes nothing and succeeds" {
    set_master_list 'hostB hostC'
    snapshot "$CONF"
    run_orv join hostC.lab.local
    [ "$status" -eq 0 ]
    expect_output <<<'No changes.  This host already belongs to a cluster with master host hostB.'
    expect_unchanged "$CONF"
}

@test "naming another master when this host already belongs to a cluster is refused" {
    set_master_list 'hostB hostC'
    snapshot "$CONF"
    run_orv join hostD -f
    [ "$status" -eq 255 ]
    expect_output <<'OUT'
This host belongs to the cluster cluster1.  It cannot join a different cluster.
Command failed.
OUT
    expect_unchanged "$CONF"
}

@test "refusals of the argument: IP address, empty, blank, blank inside, unknown host" {
    snapshot "$CONF"
    local arg expected
    while IFS='|' read -r arg expected; do
        run_orv join "$arg" -f
        [ "$status" -eq 255 ]
        expect_output <<<"$expected
Command failed."
        expect_unchanged "$CONF"
    done <<'CASES'
10.1.2.3|IP address is not supported. Specify a valid host name.
 10.0.0.2 |IP address is not supported. Specify a valid host name.
|You have not input any master host. Specify the name of the master host.
   |You have not input any master host. Specify the name of the master host.
host B|[host B] is not a valid host name.
ghost|[ghost] is not a valid host name.
10.0.0|[10.0.0] is not a valid host name.
CASES
}

@test "an IP address is refused before the configuration is looked at" {
    ORV_UNSET=ORV_CONFDIR
    run_orv join 10.1.2.3
    [ "$status" -eq 255 ]
    expect_output <<'OUT'
IP address is not supported. Specify a valid host name.
Command failed.
OUT
}

@test "a caller who is not a cluster administrator is refused, even for an empty name" {
    sed -i 's/^Administrators = .*/Administrators = root,orvadmin/' "$CONF/orv.cluster.cluster1"
    snapshot "$CONF"
    for arg in hostA ''; do
        run_orv join "$arg" -f
        [ "$status" -eq 255 ]
        expect_output <<'OUT'
You must be cluster administrator [root] to use orvconfig.
Command failed.
OUT
        expect_unchanged "$CONF"
    done
}

@test "a host tagged for harvesting cannot become the master of a new cluster" {
    echo 'ORV_LOCAL_RESOURCES="[resourcemap 1*x] [resource svrscvg]"' >>"$CONF/orv.conf"
    snapshot "$CONF"
    run_orv join hostA -f
    [ "$status" -eq 255 ]
    expect_output <<'OUT'
You are trying to create a new cluster with this host as the master host. Since this host has already been designated as a harvest-ready compute host, it cannot be set as master.
Command failed.
OUT
    expect_unchanged "$CONF"

    run_orv join hostB -f
    [ "$status" -eq 0 ]
    expect_output <<<'The host hostA has joined the cluster cluster1.'
}

@test "missing environment, cluster name and master list key are reported" {
    snapshot "$CONF"
    ORV_UNSET=ORV_CONFDIR run_orv join hostA -f
    [ "$status" -eq 255 ]
    expect_output <<'OUT'
The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig.
Command failed.
OUT

    printf 'Begin Cluster\nClusterName\nEnd Cluster\n' >"$CONF/orv.shared"
    snapshot "$CONF"
    run_orv join hostA -f
    [ "$status" -eq 255 ]
    expect_output <<'OUT'
Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt.
Command failed.
OUT
    expect_unchanged "$CONF"

    orv_write_default_conf "$CONF"
    sed -i '/ORV_MASTER_LIST/d' "$CONF/orv.conf"
    snapshot "$CONF"
    run_orv join hostA -f
    [ "$status" -eq 255 ]
    expect_output <<OUT
The parameter [ORV_MASTER_LIST] cannot be found in file [$CONF/orv.conf]. Please check your configuration file.
Command failed.
OUT
    expect_unchanged "$CONF"
}

@test "a resource group file without the placeholder is left as it is" {
    sed -i '/@ORV_MASTER@/d' "$CONF/ResourceGroups.xml"
    cp "$CONF/ResourceGroups.xml" "$BATS_TEST_TMPDIR/rg"
    run_orv join hostA -f
    [ "$status" -eq 0 ]
    cmp "$CONF/ResourceGroups.xml" "$BATS_TEST_TMPDIR/rg"
}

@test "a missing resource group file fails after orv.conf and the cluster file changed" {
    rm "$CONF/ResourceGroups.xml"
    run_orv join hostA -f
    [ "$status" -eq 255 ]
    expect_output <<OUT
Cannot open file $CONF/ResourceGroups.xml.
Set             <ResourceEntry ResourceID="hostA"/> in ResourceGroups.xml failed.
Command failed.
OUT
    conf_naming_master hostA | grep -v '^ORV_GET_CONF=' | expect_file "$CONF/orv.conf"
    grep -q '^hostA     !' "$CONF/orv.cluster.cluster1"
}

@test "join without a master name, or with a wrong trailing word, prints its usage" {
    snapshot "$CONF"
    for args in "join" "join hostA -F" "join hostA -f x"; do
        # shellcheck disable=SC2086
        run_orv $args
        [ "$status" -eq 255 ]
        expect_output <<'OUT'

Usage: orvconfig join master_name [-f]
OUT
    done
    expect_unchanged "$CONF"
}

@test "an orv.conf that cannot be written back while ORV_GET_CONF goes fails the new cluster" {
    strace -qq -o /dev/null true 2>/dev/null || skip "strace cannot trace here"
    cp "$CONF/ResourceGroups.xml" "$BATS_TEST_TMPDIR/rg"
    # The second write to orv.conf itself (the first names the master) fails: disk full.
    local -a envs
    mapfile -t envs < <(orv_env)
    run env -i PATH="$PATH" strace -qq -o /dev/null -P "$CONF/orv.conf" \
        -e trace=write -e inject=write:error=ENOSPC:when=2 \
        "${envs[@]/#/-E}" -E ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0 \
        "$ORVCONFIG" join hostA -f </dev/null
    [ "$status" -eq 255 ]
    expect_output <<OUT
Cannot write file $CONF/orv.conf. Its new content is kept in $CONF/orv.conf.tmp.
Command failed.
OUT
    conf_naming_master hostA | grep -v '^ORV_GET_CONF=' | expect_file "$CONF/orv.conf.tmp"
    cmp "$CONF/ResourceGroups.xml" "$BATS_TEST_TMPDIR/rg"
}
