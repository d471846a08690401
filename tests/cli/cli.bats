#!/usr/bin/env bats
# The command line itself: options, subcommand words, argument counts, the trailing -f,
# usage texts, the version banner and exit statuses; and the environment messages that
# every subcommand shares.

bats_require_minimum_version 1.5.0
load helpers

setup() {
    orv_setup_tree
}

full_usage() {
    cat <<'EOF'

Usage: orvconfig subcommand [options]
       orvconfig -h
       orvconfig -V
Subcommand:
   addresourceattr "[resource resource_name] [resourcemap value*resource_name] ..."
Adds a resource attribute tag to the parameter ORV_LOCAL_RESOURCES in orv.conf on the local host. The attribute tag is later referenced when you create a resource group and want to add hosts to it that share the same resource attribute.
resourcemap :Keyword required by ORV_LOCAL_RESOURCES to signify that the name of the resource attribute tag is numeric. The name is preceded by a numeric value to form a name-value pair.
resource : Keyword required by ORV_LOCAL_RESOURCES to signify that the name of the resource attribute tag is boolean.
resource_name : Specifies the name of the resource attribute tag that identifies this type of host. For example, the resource attribute tag scvg could be later used to create a resource group for harvesting-capable hosts.

   join        master_name [-f]
Adds the local UNIX host to the cluster that has the specified master host.

   masterlist  host_name[,host_name,...]
Specifies the list of master candidates, starting with the master host, and including  all of the candidates, in the order of failover priority.

   mghost      shared_top [-f]
Specifies to ignore the local configuration directory and look in the shared location for the configuration information and common files so the management hosts use a common set of files. Issuing this command adds this host to the management hosts resource group.

   mghost      vos [-f]
Use this command when adding Brevant VOS to an existing ORV cluster. Specifies to ignore the local VOS configuration directory and use the ORV shared directory instead. Issue this command on all management hosts so VOS can use shared location configurations.

   mghost      kirn [-f]
Use this command when adding Brevant Tessary to an existing ORV cluster. Specifies to ignore the local Tessary configuration directory and use the ORV shared directory instead. Issue this command only on the master host so that Tessary can use shared location configurations.

   mghost      zt [-f]
Use this command when adding Brevant Tessary Analytics to an existing ORV cluster. Specifies to ignore the local Tessary Analytics configuration directory and use the ORV shared directory instead. Issue this command only on the master host so that Tessary Analytics can use shared location configurations.

   setbaseport base_port_no
Changes the port number for the ORV_LIM service or daemon to the specified port number.

   unsetmghost [-f]
Demotes the local management host to a compute host.

   hovhdfsport <show|set> port_no 
Displays or updates the port number for the HDFS service.
EOF
}

banner() {
    cat <<'EOF'
ORV 1.2.7.0 build 213132, Feb 27 2013
Copyright (C) 2013 the orvconfig authors.
All rights reserved.

binary type: linux2.6-glibc2.3-x86_64
EOF
}

# usage_of SELECTOR-WORD: the one-subcommand usage text, with its leading empty line.
usage_of() {
    printf '\n'
    case $1 in
    masterlist) echo 'Usage: orvconfig masterlist host_name[,host_name,...] [-f]' ;;
    join) echo 'Usage: orvconfig join master_name [-f]' ;;
    mghost)
        echo 'Usage: orvconfig mghost shared_top [-f]'
        echo '       orvconfig mghost kirn [-f]'
        echo '       orvconfig mghost vos [-f]'
        echo '       orvconfig mghost zt [-f]'
        ;;
    setbaseport) echo 'Usage: orvconfig setbaseport base_port_no' ;;
    unsetmghost) echo 'Usage: orvconfig unsetmghost [-f]' ;;
    addresourceattr)
        echo 'Usage: orvconfig addresourceattr "[resource resource_name] [resourcemap value*resource_name] ..."'
        ;;
    hovhdfsport) echo 'Usage: orvconfig hovhdfsport <show|set> <port>' ;;
    esac
}

# expect_stdout_is_file FILE: standard output of the last run, byte for byte (the
# trailing newlines included, which $output drops).
run_orv_bytes() {
    local -a envs
    mapfile -t envs < <(orv_env)
    env -i PATH="$PATH" "${envs[@]}" "$ORVCONFIG" "$@" </dev/null \
        >"$BATS_TEST_TMPDIR/out" 2>"$BATS_TEST_TMPDIR/err" && status=0 || status=$?
}

@test "no arguments: full usage, exit 255" {
    run_orv_bytes
    [ "$status" -eq 255 ]
    full_usage | expect_file "$BATS_TEST_TMPDIR/out"
    [ ! -s "$BATS_TEST_TMPDIR/err" ]
}

@test "-h and any word beginning with -h: full usage, exit 0" {
    for opt in -h -help -hx; do
        run_orv_bytes "$opt"
        [ "$status" -eq 0 ]
        full_usage | expect_file "$BATS_TEST_TMPDIR/out"
        [ ! -s "$BATS_TEST_TMPDIR/err" ]
    done
}

@test "-V and any word beginning with -V: banner on standard error only, exit 0" {
    for opt in -V -Vx -Version; do
        run_orv_bytes "$opt"
        [ "$status" -eq 0 ]
        banner | expect_file "$BATS_TEST_TMPDIR/err"
        [ ! -s "$BATS_TEST_TMPDIR/out" ]
    done
}

@test "a lone illegal option prints its own dash and the full usage, exit 0" {
    for opt in -x -v -H - --help; do
        run_orv_bytes "$opt"
        [ "$status" -eq 0 ]
        { echo "orvconfig: Illegal option -$opt"; full_usage; } | expect_file "$BATS_TEST_TMPDIR/out"
        [ ! -s "$BATS_TEST_TMPDIR/err" ]
    done
}

@test "subcommand words match whole and case-sensitively; others are illegal, exit 255" {
    for word in foo masterlists Join JOIN master mghosts unsetmghost2 hovhdfs addresource ""; do
        run_orv_bytes "$word" x
        [ "$status" -eq 255 ]
        { echo "orvconfig: Illegal option -$word"; full_usage; } | expect_file "$BATS_TEST_TMPDIR/out"
    done
    run_orv_bytes masterlists
    [ "$status" -eq 255 ]
    { echo "orvconfig: Illegal option -masterlists"; full_usage; } | expect_file "$BATS_TEST_TMPDIR/out"
}

@test "an option followed by more words is taken as a subcommand word, exit 255" {
    run_orv_bytes -h extra
    [ "$status" -eq 255 ]
    { echo "orvconfig: Illegal option --h"; full_usage; } | expect_file "$BATS_TEST_TMPDIR/out"
    run_orv_bytes -V x y
    [ "$status" -eq 255 ]
    { echo "orvconfig: Illegal option --V"; full_usage; } | expect_file "$BATS_TEST_TMPDIR/out"
    [ ! -s "$BATS_TEST_TMPDIR/err" ]
}

# expect_usage WORD ARGS...: the run prints exactly WORD's usage and exits 255, with
# nothing on standard error and no file of the installation changed.
expect_usage() {
    local word=$1
    shift
    snapshot "$T"
    run_orv_bytes "$@"
    [ "$status" -eq 255 ] || { echo "status $status for: $*" >&2; return 1; }
    usage_of "$word" | expect_file "$BATS_TEST_TMPDIR/out" || { echo "for: $*" >&2; return 1; }
    [ ! -s "$BATS_TEST_TMPDIR/err" ]
    rm -f "$BATS_TEST_TMPDIR/out" "$BATS_TEST_TMPDIR/err"
    expect_unchanged "$T"
}

@test "masterlist: wrong counts and trailing words print its usage" {
    expect_usage masterlist masterlist
    expect_usage masterlist masterlist hostA,hostB -F
    expect_usage masterlist masterlist hostA,hostB -force
    expect_usage masterlist masterlist hostA hostB
    expect_usage masterlist masterlist hostA,hostB -f -f
}

@test "join: wrong counts and trailing words print its usage" {
    expect_usage join join
    expect_usage join join m -F
    expect_usage join join hostB f
    expect_usage join join hostB -f extra
}

@test "mghost: wrong counts and trailing words print its usage" {
    expect_usage mghost mghost
    expect_usage mghost mghost /share -F
    expect_usage mghost mghost vos --f
    expect_usage mghost mghost /share -f x
}

@test "unsetmghost: wrong counts and trailing words print its usage" {
    expect_usage unsetmghost unsetmghost -F
    expect_usage unsetmghost unsetmghost f
    expect_usage unsetmghost unsetmghost -f -f
}

@test "setbaseport: exactly one operand and no -f" {
    expect_usage setbaseport setbaseport
    expect_usage setbaseport setbaseport 20000 -f
    expect_usage setbaseport setbaseport 20000 20010
}

@test "hovhdfsport: show takes nothing more, set takes one port" {
    expect_usage hovhdfsport hovhdfsport
    expect_usage hovhdfsport hovhdfsport set
    expect_usage hovhdfsport hovhdfsport show 5
    expect_usage hovhdfsport hovhdfsport Show
    expect_usage hovhdfsport hovhdfsport get 5
    expect_usage hovhdfsport hovhdfsport set 5 -f
    expect_usage hovhdfsport hovhdfsport show -f
}

@test "addresourceattr: exactly one operand" {
    expect_usage addresourceattr addresourceattr
    expect_usage addresourceattr addresourceattr "resource a" -f
    expect_usage addresourceattr addresourceattr resource a
}

@test "addresourceattr: an empty tag text prints its usage" {
    expect_usage addresourceattr addresourceattr ""
}

# The environment messages are the same for every subcommand; setbaseport and hovhdfsport
# reach them before anything else is read.
@test "ORV_CONFDIR unset: the subcommand says so and fails" {
    snapshot "$T"
    for args in "setbaseport 20000" "hovhdfsport show"; do
        # shellcheck disable=SC2086 # $args holds the words of one command line
        ORV_UNSET=ORV_CONFDIR run_orv_stdout $args
        [ "$status" -eq 255 ]
        expect_output <<'EOF'
The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig.
Command failed.
EOF
    done
    expect_unchanged "$T"
}

@test "ORV_LOCAL_CONFDIR unset: the subcommand says so and fails" {
    snapshot "$T"
    for args in "setbaseport 20000" "hovhdfsport show"; do
        # shellcheck disable=SC2086 # $args holds the words of one command line
        ORV_UNSET=ORV_LOCAL_CONFDIR run_orv_stdout $args
        [ "$status" -eq 255 ]
        expect_output <<'EOF'
The cluster local configuration directory cannot be found because the environment variable ORV_LOCAL_CONFDIR is not defined.  On unix, source the environment before running orvconfig.
Command failed.
EOF
    done
    expect_unchanged "$T"
}

@test "ORV_CONFDIR not a directory, or missing: refused before anything is read" {
    : >"$T/plainfile"
    ORV_CONFDIR_DIR=$T/plainfile run_orv_stdout setbaseport 20000
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
The cluster configuration directory cannot be used because the environment variable ORV_CONFDIR is not set to a valid directory.
Command failed.
EOF
    ORV_CONFDIR_DIR=$T/missing run_orv_stdout setbaseport 20000
    [ "$status" -eq 255 ]
    [ "$output" = "Command failed." ]
}

@test "only the first comma-free part of the Administrators line counts" {
    sed -i 's/^Administrators = .*/Administrators = root,orvadmin/' "$CONF/orv.cluster.cluster1"
    snapshot "$T"
    run_orv_stdout setbaseport 20000
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
You must be cluster administrator [root] to use orvconfig.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "the login name comes from the password database, case-sensitively" {
    ORV_LOGIN=OrvAdmin
    orv_write_nss
    snapshot "$T"
    run_orv_stdout hovhdfsport show
    [ "$status" -eq 255 ]
    expect_output <<'EOF'
You must be cluster administrator [orvadmin] to use orvconfig.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "a missing cluster file is named in full" {
    rm "$CONF/orv.cluster.cluster1"
    run_orv_stdout setbaseport 20000
    [ "$status" -eq 255 ]
    expect_output <<EOF
Cannot open the file $CONF/orv.cluster.cluster1.
Command failed.
EOF
}
