#!/usr/bin/env bats
# unsetmghost: a candidate (hostB) goes back to its local configuration directory.

load helpers

setup() {
    mg_setup_demote
}

# A second case inside one test starts again from a fresh tree.
fresh() {
    rm -rf "$T"
    unset VOS_ENVDIR_DIR
    mg_setup_demote
}

PROMPT="The host will use configuration files on a local directory, instead of a shared directory.  Do you want to continue? [y/n]"
DEMOTED_LINE="This host no longer uses the shared configuration directory.  This host cannot be used as a master candidate."

demoted_output() {
    echo "The host will use configuration files on a local directory. You must reset your environment before you can run any more ORV commands. Source the environment $RCTOP/cshrc.tolvane or $RCTOP/profile.tolvane again."
    echo "$DEMOTED_LINE"
}

HOSTLINE_A='hostA     !        !            1     -    -    -   (mg linux)'
HOSTLINE_B='hostB     !        !            1     -    -    -   (linux mg)'
HOSTLINE_C='hostC     !        !            1     -    -    -   (linux mg)'

# The shared cluster file holding exactly the given host lines.
expect_cluster_hosts() {
    {
        printf '%s\n' 'Begin ClusterAdmins' 'Administrators = orvadmin' 'End ClusterAdmins' '' \
            'Begin Host' 'HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords'
        printf '%s\n' "$@"
        echo 'End Host'
    } | expect_file "$SCONF/orv.cluster.cluster1"
}

# orv.conf of DIR with the given ORV_MASTER_LIST line and work directory.
expect_orv_conf() {
    expect_file "$1" <<EOF
# ORV kernel configuration
$2
ORV_LIM_PORT=7869
ORV_KD_PORT=7870
ORV_WORKDIR=$3
EOF
}

expect_local_scripts_restored() {
    expect_file "$CCONF/profile.orv" <<EOF
ORV_TOP=$CTOP
ORV_CONFDIR=\$ORV_TOP/kernel/conf
ORV_LOCAL_CONFDIR=\$ORV_TOP/kernel/conf
ORV_OSRVDIR=\$ORV_TOP/oservice
export ORV_TOP ORV_CONFDIR ORV_LOCAL_CONFDIR ORV_OSRVDIR
EOF
    expect_file "$CCONF/cshrc.orv" <<EOF
setenv ORV_TOP $CTOP
setenv ORV_CONFDIR \$ORV_TOP/kernel/conf
setenv ORV_LOCAL_CONFDIR \$ORV_TOP/kernel/conf
setenv ORV_OSRVDIR \$ORV_TOP/oservice
EOF
}

# A master list of the given names in the shared and the local orv.conf.
set_master_list() {
    sed -i "s|^ORV_MASTER_LIST=.*|ORV_MASTER_LIST=\"$*\"|" "$SCONF/orv.conf" "$CCONF/orv.conf"
}

@test "a candidate is demoted: cluster file, master list, scripts and orv.conf" {
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    demoted_output | expect_output
    expect_cluster_hosts "$HOSTLINE_A" "$HOSTLINE_C"
    # hostB stops the walk: hostC behind it is dropped from the list.
    expect_orv_conf "$SCONF/orv.conf" 'ORV_MASTER_LIST="hostA"' "$TOP/kernel/work"
    expect_orv_conf "$CCONF/orv.conf" 'ORV_MASTER_LIST="hostA"' "$CTOP/kernel/work"
    expect_local_scripts_restored
    [ ! -e "$CTOP/perf" ]
    expect_no_tmp "$T"
}

@test "the question: y proceeds, x repeats it, n and the end of input change nothing" {
    snapshot "$T"
    printf 'n\n' >"$BATS_TEST_TMPDIR/answers"
    ORV_STDIN=$BATS_TEST_TMPDIR/answers run_orv unsetmghost
    [ "$status" -eq 0 ]
    expect_output <<EOF
${PROMPT}No changes. This host uses a shared configuration directory.
EOF
    expect_unchanged "$T"

    run_orv unsetmghost
    [ "$status" -eq 0 ]
    expect_output <<EOF
${PROMPT}No changes. This host uses a shared configuration directory.
EOF
    expect_unchanged "$T"

    printf 'x\nY\ny\n' >"$BATS_TEST_TMPDIR/answers"
    ORV_STDIN=$BATS_TEST_TMPDIR/answers run_orv unsetmghost
    [ "$status" -eq 0 ]
    { printf '%s' "$PROMPT$PROMPT$PROMPT"; demoted_output; } | expect_output
    expect_cluster_hosts "$HOSTLINE_A" "$HOSTLINE_C"
}

@test "the master host cannot be demoted" {
    ORV_HOSTNAME=hostA
    ORV_LOCAL_CONFDIR_DIR=$CONF
    ORV_TOP_DIR=$TOP
    snapshot "$T"
    run_orv unsetmghost -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
You cannot run this command on the master host.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "the rebuilt list: last candidate, a host outside the list, qualified names" {
    ORV_HOSTNAME=hostC
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    expect_orv_conf "$SCONF/orv.conf" 'ORV_MASTER_LIST="hostA hostB"' "$TOP/kernel/work"
    expect_cluster_hosts "$HOSTLINE_A" "$HOSTLINE_B"

    # A management host that is no candidate keeps the whole list.
    fresh
    ORV_HOSTNAME=hostD
    sed -i "/^End Host/i hostD.lab.local !        !            1     -    -    -   (linux mg)" \
        "$SCONF/orv.cluster.cluster1"
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    expect_orv_conf "$SCONF/orv.conf" 'ORV_MASTER_LIST="hostA hostB hostC"' "$TOP/kernel/work"
    expect_cluster_hosts "$HOSTLINE_A" "$HOSTLINE_B" "$HOSTLINE_C"

    # The list names hosts by their qualified names; hostB still matches itself.
    fresh
    set_master_list hostA.lab.local hostC.lab.local hostB.lab.local hostD
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    expect_orv_conf "$SCONF/orv.conf" 'ORV_MASTER_LIST="hostA.lab.local hostC.lab.local"' \
        "$TOP/kernel/work"
}

# N filler candidates, written as addresses so that comparing them needs no name lookup.
fillers() {
    local i
    for i in $(seq 1 "$1"); do echo "10.9.$((i / 250)).$((i % 250 + 1))"; done
}

@test "a list of more than 127 candidates wraps the step counter" {
    local -a extra
    mapfile -t extra < <(fillers 128)
    # 130 entries: the counter starts out negative, no step is made, the list is emptied.
    set_master_list hostA hostB "${extra[@]}"
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    expect_orv_conf "$SCONF/orv.conf" 'ORV_MASTER_LIST=' "$TOP/kernel/work"
    expect_orv_conf "$CCONF/orv.conf" 'ORV_MASTER_LIST=' "$CTOP/kernel/work"

    # 257 entries and a host outside them: one step, only the master is kept.
    fresh
    ORV_HOSTNAME=hostD
    mapfile -t extra < <(fillers 256)
    set_master_list hostA "${extra[@]}"
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    expect_orv_conf "$SCONF/orv.conf" 'ORV_MASTER_LIST="hostA"' "$TOP/kernel/work"

    # 127 entries still count in full.
    fresh
    ORV_HOSTNAME=hostD
    mapfile -t extra < <(fillers 125)
    set_master_list hostA hostB "${extra[@]}"
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    expect_orv_conf "$SCONF/orv.conf" "ORV_MASTER_LIST=\"hostA hostB ${extra[*]}\"" \
        "$TOP/kernel/work"
}

@test "performance scripts are pointed back at the local top" {
    mkdir -p "$CTOP/perf/conf"
    cat >"$CTOP/perf/conf/cshrc.perf" <<EOF
setenv PERF_TOP $CTOP/perf
setenv PERF_CONFDIR $SHARE/perf/conf
setenv PERF_WORKDIR $SHARE/perf/work
EOF
    cat >"$CTOP/perf/conf/profile.perf" <<EOF
PERF_CONFDIR=$SHARE/perf/conf
PERF_WORKDIR=$SHARE/perf/work
export PERF_CONFDIR PERF_WORKDIR
EOF
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    demoted_output | expect_output
    expect_file "$CTOP/perf/conf/cshrc.perf" <<EOF
setenv PERF_TOP $CTOP/perf
setenv PERF_CONFDIR $RCTOP/perf/conf
setenv PERF_WORKDIR $RCTOP/perf/work
EOF
    expect_file "$CTOP/perf/conf/profile.perf" <<EOF
PERF_CONFDIR=$RCTOP/perf/conf
PERF_WORKDIR=$RCTOP/perf/work
export PERF_CONFDIR PERF_WORKDIR
EOF
}

@test "the batch product of this cluster is pointed back at its own directory" {
    mg_add_vos "$CTOP"
    sed -i "s|^VOS_ORV_ENVDIR=.*|VOS_ORV_ENVDIR=$SCONF|" "$CTOP/vos/conf/vos.conf"
    printf 'VOS_ENVDIR=%s/vos/conf\nexport VOS_ENVDIR\n' "$SHARE" >"$CTOP/vos/conf/profile.vos"
    printf 'setenv VOS_ENVDIR %s/vos/conf\n' "$SHARE" >"$CTOP/vos/conf/cshrc.vos"
    VOS_ENVDIR_DIR=$CTOP/vos/conf
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    demoted_output | expect_output
    expect_file "$CTOP/vos/conf/profile.vos" <<'EOF'
VOS_ENVDIR=$VOS_TOP/conf
export VOS_ENVDIR
EOF
    # shellcheck disable=SC2016 # the script holds the variable unexpanded
    expect_file "$CTOP/vos/conf/cshrc.vos" <<<'setenv VOS_ENVDIR $VOS_TOP/conf'

    # A batch product attached to another cluster is left alone.
    fresh
    VOS_ENVDIR_DIR=$CTOP/vos/conf
    mg_add_vos "$CTOP"
    sed -i "s|^VOS_ORV_ENVDIR=.*|VOS_ORV_ENVDIR=$T|" "$CTOP/vos/conf/vos.conf"
    printf 'VOS_ENVDIR=%s/vos/conf\n' "$SHARE" >"$CTOP/vos/conf/profile.vos"
    run_orv unsetmghost -f
    [ "$status" -eq 0 ]
    expect_file "$CTOP/vos/conf/profile.vos" <<<"VOS_ENVDIR=$SHARE/vos/conf"
}

@test "a failed edit stops the demotion with its report key" {
    # profile.vos cannot be rewritten: reported under the key ORV_CONFDIR.
    mg_add_vos "$CTOP"
    sed -i "s|^VOS_ORV_ENVDIR=.*|VOS_ORV_ENVDIR=$SCONF|" "$CTOP/vos/conf/vos.conf"
    rm "$CTOP/vos/conf/profile.vos"
    mkdir "$CTOP/vos/conf/profile.vos"
    VOS_ENVDIR_DIR=$CTOP/vos/conf
    run_orv unsetmghost -f
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open file $CTOP/vos/conf/profile.vos.
Set ORV_CONFDIR in profile.vos failed.
Command failed.
EOF
    # Nothing is rolled back: the host has left the cluster file, the scripts before the
    # failing row are rewritten, the rows after it are not.
    expect_cluster_hosts "$HOSTLINE_A" "$HOSTLINE_C"
    expect_local_scripts_restored
    expect_orv_conf "$CCONF/orv.conf" 'ORV_MASTER_LIST="hostA hostB hostC"' "$SHARE/kernel/work"

    # orv.conf cannot be rewritten: reported under the key ORV_OSRVDIR.
    fresh
    mv "$CCONF/orv.conf" "$T/orv.conf.saved"
    mkdir "$CCONF/orv.conf"
    run_orv unsetmghost -f
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open file $CCONF/orv.conf.
Set ORV_OSRVDIR in orv.conf failed.
Command failed.
EOF

    # A missing cshrc.orv fails at the first row.
    fresh
    rm "$CCONF/cshrc.orv"
    cp "$CCONF/profile.orv" "$T/profile.before"
    run_orv unsetmghost -f
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open file $CCONF/cshrc.orv.
Set ORV_CONFDIR in cshrc.orv failed.
Command failed.
EOF
    cmp "$T/profile.before" "$CCONF/profile.orv"
}

@test "refusals before anything is changed" {
    snapshot "$T"
    ORV_UNSET=ORV_LOCAL_CONFDIR run_orv unsetmghost -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
The cluster local configuration directory cannot be found because the environment variable ORV_LOCAL_CONFDIR is not defined.  On unix, source the environment before running orvconfig.
Command failed.
EOF
    printf 'Begin Cluster\nClusterName\nEnd Cluster\n' >"$SCONF/orv.shared"
    snapshot "$T"
    run_orv unsetmghost -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt.
Command failed.
EOF
    expect_unchanged "$T"

    fresh
    sed -i 's/^Administrators = .*/Administrators = someone/' "$SCONF/orv.cluster.cluster1"
    snapshot "$T"
    run_orv unsetmghost -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
You must be cluster administrator [someone] to use orvconfig.
Command failed.
EOF
    expect_unchanged "$T"
}
