#!/usr/bin/env bats
# setbaseport: the port block, the files of both configuration sides, the free-port probe
# against sockets really held on this machine, and refusals that leave every file alone.

load helpers

INVALID='Invalid base port %s. The base port must be larger than 1024 and less than 65532.'

setup() {
    orv_setup_tree
    SERVICES=$TOP/oservice/osc/conf/services
}

teardown() { orv_release_ports; }

# --- fixture texts: each takes the port values it holds -------------------------------

orv_conf_text() {
    cat <<EOF
# ORV kernel configuration
ORV_MASTER_LIST="@ORV_MASTER_LIST@"
ORV_LIM_PORT=$1
ORV_KD_PORT=$2
ORV_PEM_PORT=$3
ORV_GET_CONF=lim
ORV_WORKDIR=/opt/orv/kernel/work
EOF
}

osc_text() {
    cat <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<ServiceController>
    <Parameter name="OSC_PORT">$1</Parameter>
    <Parameter name="OSC_LOG_LEVEL">WARN</Parameter>
</ServiceController>
EOF
}

rs_text() {
    cat <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<Service name="RS">
    <Environment name="REPOSITORY_SERVICE_PORT">$1</Environment>
</Service>
EOF
}

sd_text() {
    cat <<EOF
<Service name="SD">
    <Environment name="SD_SDK_PORT">$1</Environment>
    <Environment name="SD_ADMIN_PORT">$2</Environment>
</Service>
EOF
}

mrss_text() {
    cat <<EOF
<Service name="MRSS">
    <Environment name="HOV_MRSS_SHUFFLE_CLIENT_PORT">$1</Environment>
    <Environment name="HOV_MRSS_SHUFFLE_DATA_WRITE_PORT">$2</Environment>
</Service>
EOF
}

vos_text() {
    cat <<EOF
VOS_LIM_PORT=$1
VOS_MASTER_LIST="hostA"
EOF
}

# write_profiles TOP: the service controller's profile in both of its places and the
# rs and mrss service profiles of the tree whose configuration is TOP/kernel/conf.
write_profiles() {
    mkdir -p "$1/oservice/osc/conf/services" "$1/kernel/oservice/osc/conf"
    osc_text 7872 >"$1/oservice/osc/conf/orvsc_conf.xml"
    osc_text 7872 >"$1/kernel/oservice/osc/conf/orvsc_conf.xml"
    rs_text 7873 >"$1/oservice/osc/conf/services/rs.xml"
    mrss_text 7879 7880 >"$1/oservice/osc/conf/services/mrss.xml"
}

# expect_moved TOP BASE: the kernel keys and the controller and rs profiles of TOP carry
# the block that starts at BASE.
expect_moved() {
    local b=$2
    orv_conf_text "$b" $((b + 1)) $((b + 2)) | expect_file "$1/kernel/conf/orv.conf"
    osc_text $((b + 3)) | expect_file "$1/oservice/osc/conf/orvsc_conf.xml"
    osc_text $((b + 3)) | expect_file "$1/kernel/oservice/osc/conf/orvsc_conf.xml"
    rs_text $((b + 4)) | expect_file "$1/oservice/osc/conf/services/rs.xml"
}

changed_line() { printf 'Communication ports have been changed. The new base port is %s.\n' "$1"; }

# --- a host with its own configuration -------------------------------------------------

@test "setbaseport 1025 moves the five-port block and the shuffle ports" {
    orv_ports_free 1025 5 || skip "ports 1025-1029 are in use on this machine"
    write_profiles "$TOP"
    mkdir -p "$TOP\\conf"
    vos_text 7869 >"$TOP\\conf/vos.conf"
    snapshot "$TOP\\conf"

    run_orv setbaseport 1025
    [ "$status" -eq 0 ]
    expect_output <<<"Communication ports have been changed. The new base port is 1025."
    expect_file "$CONF/orv.conf" <<'EOF'
# ORV kernel configuration
ORV_MASTER_LIST="@ORV_MASTER_LIST@"
ORV_LIM_PORT=1025
ORV_KD_PORT=1026
ORV_PEM_PORT=1027
ORV_GET_CONF=lim
ORV_WORKDIR=/opt/orv/kernel/work
EOF
    osc_text 1028 | expect_file "$TOP/oservice/osc/conf/orvsc_conf.xml"
    osc_text 1028 | expect_file "$TOP/kernel/oservice/osc/conf/orvsc_conf.xml"
    rs_text 1029 | expect_file "$SERVICES/rs.xml"
    mrss_text 1035 1036 | expect_file "$SERVICES/mrss.xml"
    # Without a shared top the batch product's vos.conf is not looked at.
    expect_unchanged "$TOP\\conf"
}

@test "with sd.xml and SD.xml the block has seven ports and both profiles move" {
    write_profiles "$TOP"
    sd_text 7874 7875 >"$SERVICES/sd.xml"
    sd_text 7874 7875 >"$SERVICES/SD.xml"
    b=$(orv_free_base 12)

    run_orv setbaseport "$b"
    [ "$status" -eq 0 ]
    changed_line "$b" | expect_output
    expect_moved "$TOP" "$b"
    sd_text $((b + 5)) $((b + 6)) | expect_file "$SERVICES/sd.xml"
    sd_text $((b + 5)) $((b + 6)) | expect_file "$SERVICES/SD.xml"
    mrss_text $((b + 10)) $((b + 11)) | expect_file "$SERVICES/mrss.xml"
}

@test "only the profiles that exist are edited, and orv.conf keys are never added" {
    cat >"$CONF/orv.conf" <<'EOF'
# ORV kernel configuration
#ORV_KD_PORT=1
ORV_PEM_PORT =	7871   
EOF
    b=$(orv_free_base 7)
    run_orv setbaseport "$b"
    [ "$status" -eq 0 ]
    changed_line "$b" | expect_output
    # A commented line holding the key is replaced by the active line too.
    expect_file "$CONF/orv.conf" <<EOF
# ORV kernel configuration
ORV_KD_PORT=$((b + 1))
ORV_PEM_PORT=$((b + 2))
EOF
    [ -z "$(find "$TOP/oservice" -type f)" ]
}

@test "profiles: repeated elements all change, comments and other keys stay" {
    cat >"$SERVICES/rs.xml" <<'EOF'
<?xml version="1.0" encoding="UTF-8"?>
<!-- <Environment name="REPOSITORY_SERVICE_PORT">1</Environment> -->
<Service name="RS">
    <Environment name="REPOSITORY_SERVICE_PORT">7873</Environment>
    <Environment name="REPOSITORY_SERVICE_PORT"></Environment>
    <Environment name="REPOSITORY_SERVICE_HOST">hostA</Environment>
</Service>
EOF
    cat >"$SERVICES/mrss.xml" <<'EOF'
<Service name="MRSS">
    <Environment name="HOV_MRSS_SHUFFLE_CLIENT_PORT">7879</Environment>
</Service>
EOF
    b=$(orv_free_base 7)
    run_orv setbaseport "$b"
    [ "$status" -eq 0 ]
    expect_file "$SERVICES/rs.xml" <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<!-- <Environment name="REPOSITORY_SERVICE_PORT">1</Environment> -->
<Service name="RS">
    <Environment name="REPOSITORY_SERVICE_PORT">$((b + 4))</Environment>
    <Environment name="REPOSITORY_SERVICE_PORT">$((b + 4))</Environment>
    <Environment name="REPOSITORY_SERVICE_HOST">hostA</Environment>
</Service>
EOF
    expect_file "$SERVICES/mrss.xml" <<EOF
<Service name="MRSS">
    <Environment name="HOV_MRSS_SHUFFLE_CLIENT_PORT">$((b + 10))</Environment>
</Service>
EOF
}

@test "profiles: an element split over lines gets its value after the name line" {
    cat >"$SERVICES/rs.xml" <<'EOF'
<Service name="RS">
    <Environment name="REPOSITORY_SERVICE_PORT"
        description="port of the repository service, given on its own line">7873</Environment>
</Service>
EOF
    b=$(orv_free_base 7)
    run_orv setbaseport "$b"
    [ "$status" -eq 0 ]
    expect_file "$SERVICES/rs.xml" <<EOF
<Service name="RS">
    <Environment name="REPOSITORY_SERVICE_PORT">$((b + 4))
</Environment>
</Service>
EOF
}

# --- the bounds of the base port -------------------------------------------------------

@test "base ports that are not plain digits are refused before anything is read" {
    write_profiles "$TOP"
    snapshot "$T"
    for text in 7a69 -5 +5 ' 5' '5 ' 0x401 1025.0 '１０２５'; do
        ORV_UNSET="ORV_CONFDIR ORV_LOCAL_CONFDIR" run_orv setbaseport "$text"
        [ "$status" -eq 255 ]
        # shellcheck disable=SC2059 # $INVALID is the message's own format
        printf "$INVALID\nCommand failed.\n" "$text" | expect_output
    done
    expect_unchanged "$T"
}

@test "base ports out of range are refused after the administrator check" {
    write_profiles "$TOP"
    snapshot "$T"
    for text in 1024 0 '' 000001024 65532 99999 4294968321 123456789012345678901234567890; do
        run_orv setbaseport "$text"
        [ "$status" -eq 255 ]
        # shellcheck disable=SC2059 # $INVALID is the message's own format
        printf "$INVALID\nCommand failed.\n" "$text" | expect_output
    done
    # The range is only tested once the caller is known to be an administrator.
    sed -i 's/= orvadmin/= someoneelse/' "$CONF/orv.cluster.cluster1"
    snapshot "$T"
    run_orv setbaseport 1024
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
You must be cluster administrator [someoneelse] to use orvconfig.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "the highest base is 65531 without sd profiles and 65529 with one" {
    orv_ports_free 65529 7 || skip "ports 65529-65535 are in use on this machine"
    write_profiles "$TOP"
    run_orv setbaseport 65531
    [ "$status" -eq 0 ]
    changed_line 65531 | expect_output
    expect_moved "$TOP" 65531
    # The shuffle ports are neither probed nor bounded.
    mrss_text 65541 65542 | expect_file "$SERVICES/mrss.xml"

    sd_text 1 2 >"$SERVICES/SD.xml"
    snapshot "$T"
    run_orv setbaseport 65530
    [ "$status" -eq 255 ]
    # shellcheck disable=SC2059 # $INVALID is the message's own format
    printf "$INVALID\nCommand failed.\n" 65530 | expect_output
    expect_unchanged "$T"

    run_orv setbaseport 65529
    [ "$status" -eq 0 ]
    expect_moved "$TOP" 65529
    sd_text 65534 65535 | expect_file "$SERVICES/SD.xml"
}

# --- the free-port probe ---------------------------------------------------------------

@test "every busy port of the block is named and nothing is changed" {
    write_profiles "$TOP"
    b=$(orv_free_base 12)
    orv_hold_ports $((b + 1)) $((b + 4))
    snapshot "$T"
    run_orv setbaseport "$b"
    [ "$status" -eq 255 ]
    expect_output <<EOF
The port $((b + 1)) is in use.
The port $((b + 4)) is in use.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "the sd ports join the probe only when an sd profile exists" {
    write_profiles "$TOP"
    b=$(orv_free_base 12)
    orv_hold_ports $((b + 5)) $((b + 10))
    run_orv setbaseport "$b"
    [ "$status" -eq 0 ]
    changed_line "$b" | expect_output
    expect_moved "$TOP" "$b"

    sd_text 1 2 >"$SERVICES/sd.xml"
    snapshot "$T"
    run_orv setbaseport "$b"
    [ "$status" -eq 255 ]
    printf 'The port %s is in use.\nCommand failed.\n' $((b + 5)) | expect_output
    expect_unchanged "$T"
}

# --- a host that reads its configuration from a shared directory ------------------------

@test "on a shared host both sides move, the shared side through ORV_TOP's vos.conf" {
    orv_setup_shared_conf
    write_profiles "$TOP"
    write_profiles "$SHARE"
    sd_text 7874 7875 >"$SERVICES/sd.xml"
    local sharetop
    sharetop=$(realpath "$SHARE")
    mkdir -p "$TOP\\conf" "$sharetop\\conf"
    vos_text 7869 >"$TOP\\conf/vos.conf"
    vos_text 7869 >"$sharetop\\conf/vos.conf"
    b=$(orv_free_base 12)

    run_orv setbaseport "$b"
    [ "$status" -eq 0 ]
    changed_line "$b" | expect_output
    expect_moved "$TOP" "$b"
    expect_moved "$SHARE" "$b"
    vos_text "$b" | expect_file "$TOP\\conf/vos.conf"
    vos_text "$b" | expect_file "$sharetop\\conf/vos.conf"
    sd_text $((b + 5)) $((b + 6)) | expect_file "$SERVICES/sd.xml"
    # Both passes take mrss.xml from the shared directory: the local copy stays.
    mrss_text $((b + 10)) $((b + 11)) | expect_file "$SSERVICES/mrss.xml"
    mrss_text 7879 7880 | expect_file "$SERVICES/mrss.xml"
}

@test "on a shared host the block size is decided by the local services directory" {
    orv_setup_shared_conf
    write_profiles "$SHARE"
    sd_text 7874 7875 >"$SSERVICES/sd.xml"
    b=$(orv_free_base 12)
    orv_hold_ports $((b + 6))
    run_orv setbaseport "$b"
    [ "$status" -eq 0 ]
    expect_moved "$SHARE" "$b"
    sd_text $((b + 5)) $((b + 6)) | expect_file "$SSERVICES/sd.xml"
    orv_conf_text "$b" $((b + 1)) $((b + 2)) | expect_file "$CONF/orv.conf"
}

@test "a failed edit on the shared side is reported but does not fail the command" {
    orv_setup_shared_conf
    write_profiles "$TOP"
    write_profiles "$SHARE"
    rm "$SSERVICES/rs.xml"
    mkdir "$SSERVICES/rs.xml"
    b=$(orv_free_base 12)
    run_orv setbaseport "$b"
    [ "$status" -eq 0 ]
    expect_output <<EOF
Cannot open file $SCONF/../../oservice/osc/conf/services/rs.xml.
Set REPOSITORY_SERVICE_PORT in $((b + 4)) failed.
Communication ports have been changed. The new base port is $b.
EOF
    expect_moved "$TOP" "$b"
    orv_conf_text "$b" $((b + 1)) $((b + 2)) | expect_file "$SCONF/orv.conf"
}

@test "a failed edit on the local side fails the command after the other edits" {
    orv_setup_shared_conf
    write_profiles "$TOP"
    write_profiles "$SHARE"
    rm "$CONF/orv.conf"
    b=$(orv_free_base 12)
    run_orv setbaseport "$b"
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open file $CONF/orv.conf.
Set ORV_LIM_PORT in $b failed.
Cannot open file $CONF/orv.conf.
Set ORV_KD_PORT in $((b + 1)) failed.
Cannot open file $CONF/orv.conf.
Set ORV_PEM_PORT in $((b + 2)) failed.
Command failed.
Command failed.
EOF
    # Nothing is rolled back: the shared side and the local profiles have moved.
    expect_moved "$SHARE" "$b"
    rs_text $((b + 4)) | expect_file "$SERVICES/rs.xml"
}

# --- directories and identity ----------------------------------------------------------

@test "a local directory named with \\conf falls back to conf.old" {
    mv "$CONF" "$TOP/kernel/conf.old"
    ORV_CONFDIR_DIR=$TOP/kernel/conf.old
    ORV_LOCAL_CONFDIR_DIR="$TOP/kernel\\conf"
    b=$(orv_free_base 7)
    run_orv setbaseport "$b"
    [ "$status" -eq 0 ]
    # Looking for a shared top compares the variable as it is set, and says so.
    expect_output <<EOF
$TOP/kernel\\conf does not exist.
$(changed_line "$b")
EOF
    orv_conf_text "$b" $((b + 1)) $((b + 2)) | expect_file "$TOP/kernel/conf.old/orv.conf"

    ORV_LOCAL_CONFDIR_DIR="$TOP/kernel\\none"
    snapshot "$T"
    run_orv setbaseport "$b"
    [ "$status" -eq 255 ]
    expect_output <<<"Command failed."
    expect_unchanged "$T"
}

@test "missing environment, cluster name or administrator stop before any edit" {
    snapshot "$T"
    ORV_UNSET=ORV_CONFDIR run_orv setbaseport 20000
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig.
Command failed.
EOF
    ORV_UNSET=ORV_LOCAL_CONFDIR run_orv setbaseport 20000
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
The cluster local configuration directory cannot be found because the environment variable ORV_LOCAL_CONFDIR is not defined.  On unix, source the environment before running orvconfig.
Command failed.
EOF
    printf 'Begin Cluster\nClusterName\nEnd Cluster\n' >"$CONF/orv.shared"
    snapshot "$T"
    run_orv setbaseport 20000
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt.
Command failed.
EOF
    expect_unchanged "$T"
}
