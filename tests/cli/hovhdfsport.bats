#!/usr/bin/env bats
# hovhdfsport: showing and setting HOV_HDFS_PORT in the three HDFS service profiles, on a
# host with its own configuration and on one that reads a shared directory.

load helpers

INVALID='Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than 1024 but lower than 65532.'
CANNOT_GET='Cannot get HDFS service port number (HOV_HDFS_PORT). Check the NameNode profile (namenode.xml) for HDFS service port number.'

setup() {
    orv_setup_tree
    SERVICES=$TOP/oservice/osc/conf/services
}

teardown() { orv_release_ports; }

# profile_text NAME PORT: an HDFS service profile holding PORT.
profile_text() {
    cat <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<Service name="$1">
    <Environment name="HOV_HDFS_HOST">hostA</Environment>
    <Environment name="HOV_HDFS_PORT">$2</Environment>
</Service>
EOF
}

# write_hdfs_profiles DIR PORT: the three profiles in the services directory DIR.
write_hdfs_profiles() {
    profile_text NameNode "$2" >"$1/namenode.xml"
    profile_text SecondaryNode "$2" >"$1/secondarynode.xml"
    profile_text DataNode "$2" >"$1/datanode.xml"
}

expect_hdfs_profiles() {
    profile_text NameNode "$2" | expect_file "$1/namenode.xml"
    profile_text SecondaryNode "$2" | expect_file "$1/secondarynode.xml"
    profile_text DataNode "$2" | expect_file "$1/datanode.xml"
}

shown() { printf '%s will be used as the HDFS service port, set as HOV_HDFS_PORT.\n' "$1"; }
changed() { printf 'Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is %s.\n' "$1"; }

# --- show ------------------------------------------------------------------------------

@test "show prints the NameNode's port, and 0 when there is none" {
    run_orv hovhdfsport show
    [ "$status" -eq 0 ]
    shown 0 | expect_output

    write_hdfs_profiles "$SERVICES" 8020
    run_orv hovhdfsport show
    [ "$status" -eq 0 ]
    shown 8020 | expect_output

    printf '<Service>\n<Environment name="HOV_HDFS_HOST">x</Environment>\n</Service>\n' \
        >"$SERVICES/namenode.xml"
    run_orv hovhdfsport show
    [ "$status" -eq 0 ]
    shown 0 | expect_output
}

@test "show reads the last element outside comments, as far as its number goes" {
    cat >"$SERVICES/namenode.xml" <<'EOF'
<Service>
    <Environment name="HOV_HDFS_PORT">8020</Environment>
    <Environment name="HOV_HDFS_PORT"> 9000 (the RPC port)</Environment>
    <!-- <Environment name="HOV_HDFS_PORT">7000</Environment> -->
</Service>
EOF
    run_orv hovhdfsport show
    [ "$status" -eq 0 ]
    shown 9000 | expect_output

    # A value that runs past the end of its line ends the scan: the text read so far is
    # an empty value.
    cat >"$SERVICES/namenode.xml" <<'EOF'
<Service>
    <Environment name="HOV_HDFS_PORT">
        8020</Environment>
    <Environment name="HOV_HDFS_PORT">9000</Environment>
</Service>
EOF
    run_orv hovhdfsport show
    [ "$status" -eq 0 ]
    shown 0 | expect_output
}

@test "show on a shared host reads the shared NameNode profile" {
    orv_setup_shared_conf
    write_hdfs_profiles "$SERVICES" 8020
    write_hdfs_profiles "$SSERVICES" 9000
    run_orv hovhdfsport show
    [ "$status" -eq 0 ]
    shown 9000 | expect_output
}

@test "show fails when the NameNode profile cannot be read" {
    mkdir "$SERVICES/namenode.xml"
    run_orv hovhdfsport show
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open file $CONF/../../oservice/osc/conf/services/namenode.xml.
$CANNOT_GET
Command failed.
EOF
}

@test "show fails on a NameNode profile its user may not read" {
    write_hdfs_profiles "$SERVICES" 8020
    chmod 000 "$SERVICES/namenode.xml"
    run_orv_unprivileged hovhdfsport show
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open file $CONF/../../oservice/osc/conf/services/namenode.xml.
$CANNOT_GET
Command failed.
EOF
}

@test "show stops at the administrator check" {
    write_hdfs_profiles "$SERVICES" 8020
    sed -i 's/= orvadmin/= root,orvadmin/' "$CONF/orv.cluster.cluster1"
    run_orv hovhdfsport show
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
You must be cluster administrator [root] to use orvconfig.
Command failed.
EOF
}

# --- set -------------------------------------------------------------------------------

@test "set writes the port into the three profiles" {
    write_hdfs_profiles "$SERVICES" 8020
    p=$(orv_free_base 1)
    run_orv hovhdfsport set "$p"
    [ "$status" -eq 0 ]
    changed "$p" | expect_output
    expect_hdfs_profiles "$SERVICES" "$p"

    run_orv hovhdfsport show
    shown "$p" | expect_output
}

@test "set writes the number but reports the text as typed" {
    write_hdfs_profiles "$SERVICES" 8020
    p=$(orv_free_base 1)
    run_orv hovhdfsport set "000$p"
    [ "$status" -eq 0 ]
    changed "000$p" | expect_output
    expect_hdfs_profiles "$SERVICES" "$p"
}

@test "set skips missing profiles and succeeds when there is none" {
    profile_text DataNode 8020 >"$SERVICES/datanode.xml"
    p=$(orv_free_base 1)
    run_orv hovhdfsport set "$p"
    [ "$status" -eq 0 ]
    changed "$p" | expect_output
    profile_text DataNode "$p" | expect_file "$SERVICES/datanode.xml"
    [ "$(ls "$SERVICES")" = datanode.xml ]

    rm "$SERVICES/datanode.xml"
    run_orv hovhdfsport set "$p"
    [ "$status" -eq 0 ]
    changed "$p" | expect_output
    [ -z "$(ls "$SERVICES")" ]
}

@test "set accepts every port up to 65535 although the message names 65532" {
    orv_ports_free 65532 4 || skip "ports 65532-65535 are in use on this machine"
    write_hdfs_profiles "$SERVICES" 8020
    for p in 65532 65535; do
        run_orv hovhdfsport set "$p"
        [ "$status" -eq 0 ]
        changed "$p" | expect_output
        expect_hdfs_profiles "$SERVICES" "$p"
    done
}

@test "set refuses port texts that are not plain digits or out of range" {
    write_hdfs_profiles "$SERVICES" 8020
    snapshot "$T"
    for text in 9000x -9000 +9000 ' 9000' '' 1024 65536 0 4294976296 \
        123456789012345678901234567890; do
        run_orv hovhdfsport set "$text"
        [ "$status" -eq 255 ]
        printf '%s\nCommand failed.\n' "$INVALID" | expect_output
    done
    # Letters are refused before the environment is looked at; the range only after it.
    ORV_UNSET=ORV_CONFDIR run_orv hovhdfsport set 9z
    printf '%s\nCommand failed.\n' "$INVALID" | expect_output
    ORV_UNSET=ORV_CONFDIR run_orv hovhdfsport set 1024
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "set refuses a busy port and changes nothing" {
    write_hdfs_profiles "$SERVICES" 8020
    p=$(orv_free_base 1)
    orv_hold_ports "$p"
    snapshot "$T"
    run_orv hovhdfsport set "$p"
    [ "$status" -eq 255 ]
    printf 'The port %s is in use.\nCommand failed.\n' "$p" | expect_output
    expect_unchanged "$T"
}

@test "set on a shared host edits the shared profiles and then the local ones" {
    orv_setup_shared_conf
    write_hdfs_profiles "$SERVICES" 8020
    write_hdfs_profiles "$SSERVICES" 8021
    p=$(orv_free_base 1)
    run_orv hovhdfsport set "$p"
    [ "$status" -eq 0 ]
    changed "$p" | expect_output
    expect_hdfs_profiles "$SERVICES" "$p"
    expect_hdfs_profiles "$SSERVICES" "$p"
}

@test "on a shared host only a failure among the local profiles fails set" {
    orv_setup_shared_conf
    write_hdfs_profiles "$SERVICES" 8020
    write_hdfs_profiles "$SSERVICES" 8021
    rm "$SSERVICES/secondarynode.xml"
    mkdir "$SSERVICES/secondarynode.xml"
    p=$(orv_free_base 1)
    run_orv hovhdfsport set "$p"
    [ "$status" -eq 0 ]
    expect_output <<EOF
Cannot open file $SCONF/../../oservice/osc/conf/services/secondarynode.xml.
Set HOV_HDFS_PORT in $p failed.
$(changed "$p")
EOF
    expect_hdfs_profiles "$SERVICES" "$p"

    rm "$SERVICES/datanode.xml"
    mkdir "$SERVICES/datanode.xml"
    q=$(orv_free_base 1)
    run_orv hovhdfsport set "$q"
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open file $SCONF/../../oservice/osc/conf/services/secondarynode.xml.
Set HOV_HDFS_PORT in $q failed.
Cannot open file $CONF/../../oservice/osc/conf/services/datanode.xml.
Set HOV_HDFS_PORT in $q failed.
Command failed.
Command failed.
EOF
    profile_text NameNode "$q" | expect_file "$SERVICES/namenode.xml"
    profile_text NameNode "$q" | expect_file "$SSERVICES/namenode.xml"
}
