#!/usr/bin/env bats
# mghost: promotion of the master onto a shared top, of candidates after it, and of the
# layered products; the confirmations and every refusal.

load helpers

setup() {
    mg_setup_master
}

reset_line() {
    echo "The shared configuration directory is $1. You must reset your environment before you can run any more ORV commands. Source the environment $2/cshrc.tolvane or $2/profile.tolvane again."
}

PROMPT_SHARED="This host will use configuration files on a shared directory.  Do you want to continue? [y/n]"
PROMPT_SERVICES="Warning: stop all cluster services managed by ORV before you run orvconfig. Do you want to continue? [y/n]"
NO_CHANGES="No changes. This host uses a local configuration directory."

prompt_named() {
    printf '%s' "This host will use configuration files on a shared directory. Make sure that $1 is a shared directory. Do you want to continue? [y/n]"
}

# The master's files after its promotion onto $SHARE, compared whole.
expect_master_promoted() {
    expect_tree "$SHARE" <<'EOF'
./kernel/conf/ResourceGroups.xml
./kernel/conf/orv.cluster.cluster1
./kernel/conf/orv.conf
./kernel/conf/orv.shared
./kernel/conf/services/profiles/default.conf
./kernel/conf/services/rs.xml
EOF
    expect_file "$SHARE/kernel/conf/orv.conf" <<EOF
# ORV kernel configuration
ORV_MASTER_LIST="hostA hostB hostC"
ORV_LIM_PORT=7869
ORV_KD_PORT=7870
ORV_WORKDIR=$SHARE/kernel/work
ORV_SHARED_CONFDIR=$SHARE/kernel/conf
EOF
    expect_file "$SHARE/kernel/conf/orv.cluster.cluster1" <<'EOF'
Begin ClusterAdmins
Administrators = orvadmin
End ClusterAdmins

Begin Host
HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
hostA     !        !            1     -    -    -   (mg linux)
End Host
EOF
    expect_file "$SHARE/kernel/conf/ResourceGroups.xml" <<'EOF'
<?xml version="1.0" encoding="UTF-8"?>
<ResourceGroups>
    <ResourceGroup ResourceGroupName="ManagementHosts">
        <ResourceRequirement>select(mg)</ResourceRequirement>
    </ResourceGroup>
    <ResourceGroup ResourceGroupName="ComputeHosts">
        <ResourceRequirement>select(!mg)</ResourceRequirement>
    </ResourceGroup>
</ResourceGroups>
EOF
    cmp "$CONF/orv.shared" "$SHARE/kernel/conf/orv.shared"
    cmp "$CONF/services/rs.xml" "$SHARE/kernel/conf/services/rs.xml"
    cmp "$CONF/services/profiles/default.conf" "$SHARE/kernel/conf/services/profiles/default.conf"
    [ "$(stat -c %a "$SHARE/kernel/conf/services/profiles/default.conf")" = 600 ]
    expect_local_points_at "$CONF" "$TOP" "$SHARE"
}

# A host's own scripts and orv.conf after mgupdate.txt ran with shared top $3.
expect_local_points_at() {
    local conf=$1 top=$2 share=$3
    expect_file "$conf/profile.orv" <<EOF
ORV_TOP=$top
ORV_CONFDIR=$share/kernel/conf
ORV_LOCAL_CONFDIR=\$ORV_TOP/kernel/conf
ORV_OSRVDIR=$share/oservice
export ORV_TOP ORV_CONFDIR ORV_LOCAL_CONFDIR ORV_OSRVDIR
EOF
    expect_file "$conf/cshrc.orv" <<EOF
setenv ORV_TOP $top
setenv ORV_CONFDIR $share/kernel/conf
setenv ORV_LOCAL_CONFDIR \$ORV_TOP/kernel/conf
setenv ORV_OSRVDIR $share/oservice
EOF
    expect_file "$conf/orv.conf" <<EOF
# ORV kernel configuration
ORV_MASTER_LIST="hostA hostB hostC"
ORV_LIM_PORT=7869
ORV_KD_PORT=7870
ORV_WORKDIR=$share/kernel/work
EOF
}

promote_master() {
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 0 ]
}

@test "the master fills the shared directory and is pointed at it" {
    local before
    before=$(cat "$CONF/orv.cluster.cluster1")
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$SHARE/kernel/conf" "$TOP")"
    expect_master_promoted
    [ "$(cat "$CONF/orv.cluster.cluster1")" = "$before" ]
    expect_no_tmp "$T"
}

@test "trailing slashes on the shared top are ignored" {
    run_orv mghost "$SHARE///" -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$SHARE/kernel/conf" "$TOP")"
    expect_master_promoted
}

@test "the confirmations: y to both; Y repeats the question, yes counts" {
    mg_add_vos
    printf 'y\nyes\n' >"$T/answers"
    ORV_STDIN=$T/answers run_orv mghost "$SHARE"
    [ "$status" -eq 0 ]
    # The product's own question is settled by the first yes.
    expect_output <<EOF
$(prompt_named "$SHARE")${PROMPT_SERVICES}$(reset_line "$SHARE/kernel/conf" "$TOP")
EOF
    expect_local_points_at "$CONF" "$TOP" "$SHARE"
    [ -f "$SHARE/vos/conf/vos.conf" ]
    grep -qx "VOS_ENVDIR=$SHARE/vos/conf" "$TOP/vos/conf/profile.vos"

    rm -rf "$T"
    mg_setup_master
    printf 'Y\ny\nn\n' >"$T/answers"
    snapshot "$T"
    ORV_STDIN=$T/answers run_orv mghost "$SHARE"
    [ "$status" -eq 255 ]
    expect_output <<EOF
$(prompt_named "$SHARE")$(prompt_named "$SHARE")${PROMPT_SERVICES}${NO_CHANGES}
Command failed.
EOF
    expect_unchanged "$T"
}

@test "n, or the end of input, at the first question changes nothing" {
    snapshot "$T"
    printf 'n\n' >"$T/answers"
    ORV_STDIN=$T/answers run_orv mghost "$SHARE"
    [ "$status" -eq 255 ]
    expect_output <<EOF
$(prompt_named "$SHARE")${NO_CHANGES}
Command failed.
EOF
    rm "$T/answers"
    expect_unchanged "$T"

    run_orv mghost "$SHARE"
    [ "$status" -eq 255 ]
    expect_output <<EOF
$(prompt_named "$SHARE")${NO_CHANGES}
Command failed.
EOF
    expect_unchanged "$T"
}

@test "installed products are promoted with the kernel, the analytics add-on is not" {
    mg_add_vos
    mg_add_kirn
    mg_add_zt
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$SHARE/kernel/conf" "$TOP")"
    expect_file "$SHARE/vos/conf/vos.conf" <<EOF
VOS_TOP=$TOP/vos
VOS_ORV_ENVDIR=$SHARE/kernel/conf
VOS_MASTER_LIST="hostA hostB hostC"
EOF
    expect_file "$TOP/vos/conf/profile.vos" <<EOF
VOS_ENVDIR=$SHARE/vos/conf
export VOS_ENVDIR
EOF
    expect_file "$TOP/vos/conf/cshrc.vos" <<<"setenv VOS_ENVDIR $SHARE/vos/conf"
    # The middleware's tree is copied before its profile is edited.
    expect_file "$SHARE/kirn/conf/profile.kirn" <<EOF
KIRN_VERSION=3.2
KIRN_CONFDIR=$TOP/kirn/conf
EOF
    expect_file "$TOP/kirn/conf/profile.kirn" <<EOF
KIRN_VERSION=3.2
KIRN_CONFDIR=$SHARE/kirn/conf
EOF
    cmp "$TOP/kirn/conf/deploy/cluster.xml" "$SHARE/kirn/conf/deploy/cluster.xml"
    [ ! -e "$SHARE/zt" ]
    expect_file "$T/zt/conf/profile.zt" <<<"ZT_CONFDIR=$T/zt/conf"
    expect_no_tmp "$T"
}

@test "a candidate after the master applies only mgupdate.txt and joins as (linux mg)" {
    promote_master
    local master_conf
    master_conf=$(cat "$SHARE/kernel/conf/orv.conf")
    snapshot "$CONF"
    mg_setup_candidate hostB
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$SHARE/kernel/conf" "$CTOP")"
    expect_file "$SHARE/kernel/conf/orv.cluster.cluster1" <<'EOF'
Begin ClusterAdmins
Administrators = orvadmin
End ClusterAdmins

Begin Host
HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
hostA     !        !            1     -    -    -   (mg linux)
hostB     !        !            1     -    -    -   (linux mg)
End Host
EOF
    [ "$(cat "$SHARE/kernel/conf/orv.conf")" = "$master_conf" ]
    expect_local_points_at "$CCONF" "$CTOP" "$SHARE"
    expect_unchanged "$CONF"
    expect_no_tmp "$T"
}

@test "a candidate before the master is refused and nothing changes" {
    mg_setup_candidate hostB
    snapshot "$T"
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
The shared directory path was not found. Ensure that: (1) <orvconfig mghost> has been run on the Master Host; and (2) the correct shared directory path is used.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "on a host still using its local directory: relative path, vos, kirn and zt refused" {
    snapshot "$T"
    run_orv mghost share -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
 You must input the absolute path to the shared directory. 
Command failed.
EOF
    mg_add_vos
    mg_add_kirn
    mg_add_zt
    snapshot "$T"
    local product
    for product in vos kirn; do
        run_orv mghost "$product" -f
        [ "$status" -eq 255 ]
        expect_output <<'EOF'
Please run orvconfig mghost SHARED_TOP [-f] firstly
Command failed.
EOF
    done
    # The add-on keyword is taken as a directory name here.
    run_orv mghost zt
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
 You must input the absolute path to the shared directory. 
Command failed.
EOF
    expect_unchanged "$T"
}

@test "a host on a shared directory cannot move to another; the same one is redone" {
    mg_share_master
    snapshot "$T"
    run_orv mghost "$T/other" -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
You cannot change the shared configuration directory.
Command failed.
EOF
    run_orv mghost relative/top -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
You cannot change the shared configuration directory.
Command failed.
EOF
    expect_unchanged "$T"

    run_orv mghost "$SHARE/" -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$SHARE/kernel/conf" "$TOP")"
    [ "$(grep -c '^hostA ' "$SCONF/orv.cluster.cluster1")" -eq 1 ]
    grep -qx 'hostA     !        !            1     -    -    -   (mg linux)' \
        "$SCONF/orv.cluster.cluster1"
    expect_no_tmp "$T"
}

@test "vos, kirn and zt on the master already using the shared directory" {
    mg_share_master
    mg_add_vos
    mg_add_kirn
    mg_add_zt
    run_orv mghost vos -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$RSHARE/kernel/conf" "$TOP")"
    expect_file "$SHARE/vos/conf/vos.conf" <<EOF
VOS_TOP=$TOP/vos
VOS_ORV_ENVDIR=$RSHARE/kernel/conf
VOS_MASTER_LIST="hostA hostB hostC"
EOF
    expect_file "$TOP/vos/conf/cshrc.vos" <<<"setenv VOS_ENVDIR $RSHARE/vos/conf"
    [ ! -e "$SHARE/kirn" ]

    run_orv mghost kirn -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$RSHARE/kernel/conf" "$TOP")"
    cmp "$TOP/kirn/conf/deploy/cluster.xml" "$SHARE/kirn/conf/deploy/cluster.xml"
    expect_file "$TOP/kirn/conf/profile.kirn" <<EOF
KIRN_VERSION=3.2
KIRN_CONFDIR=$RSHARE/kirn/conf
EOF

    run_orv mghost zt -f
    [ "$status" -eq 0 ]
    expect_output <<<"Successful!"
    expect_file "$SHARE/zt/conf/zt.conf" <<<"retention=30"
    expect_file "$T/zt/conf/profile.zt" <<<"ZT_CONFDIR=$RSHARE/zt/conf"
    expect_no_tmp "$T"
}

@test "a product on a candidate applies only its mgupdate.txt" {
    mg_share_master
    mg_setup_candidate hostB
    ORV_CONFDIR_DIR=$SCONF
    mg_add_vos "$CTOP"
    run_orv mghost vos -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$RSHARE/kernel/conf" "$CTOP")"
    expect_file "$CTOP/vos/conf/profile.vos" <<EOF
VOS_ENVDIR=$RSHARE/vos/conf
export VOS_ENVDIR
EOF
    [ ! -e "$SHARE/vos" ]
    expect_no_tmp "$T"
}

@test "a product not listed in head.conf, and n at the product's question" {
    mg_share_master
    snapshot "$T"
    run_orv mghost vos -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
Cannot find VOS installed
Command failed.
EOF
    run_orv mghost kirn -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
Cannot find kirn installed
Command failed.
EOF
    run_orv mghost zt -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
Cannot find Tessary Analytics installed
Command failed.
EOF
    expect_unchanged "$T"

    mg_add_vos
    mg_add_zt
    snapshot "$T"
    local product
    for product in vos zt; do
        run_orv mghost "$product"
        [ "$status" -eq 255 ]
        expect_output <<EOF
${PROMPT_SHARED}${NO_CHANGES}
Command failed.
EOF
    done
    expect_unchanged "$T"
}

@test "head.conf: broken, commented and mismatched lines are passed over" {
    mg_share_master
    mg_add_vos
    # Only the broken lines: drop the good one that mg_add_vos wrote.
    sed -i '$d' "$TOP/.install/head.conf"
    cat >>"$TOP/.install/head.conf" <<EOF
VOS old;vos;$T/missing
VOSX;vosx;$TOP/vos
VOS short;vos

VOS long;vos;$TOP/vos;extra
#VOS 10.1;vos;$TOP/vos
"VOS#10";vos;$TOP/vos
EOF
    snapshot "$T"
    run_orv mghost vos -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
Cannot find VOS installed
Command failed.
EOF
    expect_unchanged "$T"

    # A trailing comment is stripped; empty fields vanish.
    echo ";VOS 10.1;;vos;$TOP/vos   # moved in 10.1" >>"$TOP/.install/head.conf"
    run_orv mghost vos -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$RSHARE/kernel/conf" "$TOP")"
    [ -f "$SHARE/vos/conf/vos.conf" ]
}

@test "a missing head.conf skips the products of a kernel promotion" {
    rm "$TOP/.install/head.conf"
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 0 ]
    expect_output <<EOF
Cannot open the file head.conf.
Cannot open the file head.conf.
$(reset_line "$SHARE/kernel/conf" "$TOP")
EOF
    expect_master_promoted
}

@test "without the .install directory nothing is done" {
    rm -r "$TOP/.install"
    snapshot "$T"
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
Warning: Cannot find the .install configuration, the old version will be running
Command failed.
EOF
    expect_unchanged "$T"
}

@test "a missing change script fails the promotion and leaves no copy behind" {
    rm "$TOP/.install/mgmasterupdate.txt"
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open the file $TOP/.install/mgmasterupdate.txt.
Cannot open the file $TOP/.install/mgmasterupdate.txt.tmp.
Error when disposing the config files
Command failed.
EOF
    # mgconf.txt ran before the failure and stays done; the host was not added.
    cmp "$CONF/orv.cluster.cluster1" "$SHARE/kernel/conf/orv.cluster.cluster1"
    # shellcheck disable=SC2016 # the profile holds the variable unexpanded
    grep -qx 'ORV_CONFDIR=$ORV_TOP/kernel/conf' "$CONF/profile.orv"
    expect_no_tmp "$T"

    rm -rf "$T"
    mg_setup_master
    promote_master
    mg_setup_candidate hostB
    rm "$CTOP/.install/mgupdate.txt"
    snapshot "$SHARE"
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open the file $CTOP/.install/mgupdate.txt.
Cannot open the file $CTOP/.install/mgupdate.txt.tmp.
Error when disposing the config files
Command failed.
EOF
    expect_unchanged "$SHARE"
    expect_no_tmp "$T"
}

@test "a link planted at a script copy is replaced, never followed" {
    ln -s "$T/planted" "$TOP/.install/mgconf.txt.tmp"
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 0 ]
    expect_output <<<"$(reset_line "$SHARE/kernel/conf" "$TOP")"
    [ ! -e "$T/planted" ]
    expect_master_promoted
    expect_no_tmp "$T"
    [ ! -L "$TOP/.install/mgconf.txt.tmp" ]
}

@test "an unwritable .install directory fails the promotion" {
    declare -F run_orv_unprivileged >/dev/null || skip "no unprivileged runner"
    chmod 555 "$TOP/.install"
    run_orv_unprivileged mghost "$SHARE" -f
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open the file $TOP/.install/mgconf.txt.tmp.
Error when disposing the config files
Command failed.
EOF
    [ ! -e "$SHARE/kernel" ]
    expect_no_tmp "$T"
}

@test "an environment that was not sourced changes nothing" {
    local m1="The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig."
    snapshot "$T"
    ORV_UNSET=ORV_TOP run_orv mghost "$SHARE" -f
    [ "$status" -eq 255 ]
    printf '%s\n' "$m1" "Command failed." | expect_output
    # Looked up for the directories, the shared top and the administrator check.
    ORV_UNSET=ORV_CONFDIR run_orv mghost "$SHARE" -f
    [ "$status" -eq 255 ]
    printf '%s\n' "$m1" "$m1" "$m1" "Command failed." | expect_output
    expect_unchanged "$T"
}
