#!/usr/bin/env bats
# orvconfig addresourceattr: tags merged into ORV_LOCAL_RESOURCES of a compute host, the
# tag grammar, and the refusals on management and candidate hosts.

load helpers

setup() {
    orv_setup_tree
    # A compute host: the cluster's master is hostB, this host (hostA) is not listed.
    sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB"/' "$CONF/orv.conf"
}

default_conf() {
    orv_conf_text hostB
}

usage_text=$'\nUsage: orvconfig addresourceattr "[resource resource_name] [resourcemap value*resource_name] ..."'

@test "a tag added to an orv.conf without the key ends up on a new last line" {
    run_orv addresourceattr '[resource scvg]'
    [ "$status" -eq 0 ]
    expect_output <<<'Add resource tag successfully.'
    { default_conf; printf '\nORV_LOCAL_RESOURCES="[resource scvg]"\n'; } | expect_file "$CONF/orv.conf"
}

@test "new tags follow the existing ones; a known tag is not repeated; the comment stays" {
    echo 'ORV_LOCAL_RESOURCES="[resource a]"	# rack 4' >>"$CONF/orv.conf"
    run_orv addresourceattr '[resource a] [resourcemap 2*b]'
    [ "$status" -eq 0 ]
    expect_output <<<'Add resource tag successfully.'
    { default_conf; echo 'ORV_LOCAL_RESOURCES="[resource a] [resourcemap 2*b]" # rack 4'; } |
        expect_file "$CONF/orv.conf"

    snapshot "$CONF"
    run_orv addresourceattr '[resource a]'
    [ "$status" -eq 0 ]
    expect_output <<<'Add resource tag successfully.'
    expect_unchanged "$CONF"
}

@test "a tag given twice on the command line is written twice" {
    echo 'ORV_LOCAL_RESOURCES=' >>"$CONF/orv.conf"
    run_orv addresourceattr '"[resource gpu] [resourcemap 4*mem] [resource gpu]"'
    [ "$status" -eq 0 ]
    { default_conf; echo 'ORV_LOCAL_RESOURCES="[resource gpu] [resourcemap 4*mem] [resource gpu]"'; } |
        expect_file "$CONF/orv.conf"
}

@test "texts outside the tag grammar print the usage and change nothing" {
    snapshot "$CONF"
    local text
    for text in '[resource a b]' '[resource]' 'resource a]' '[tag a]' '' '[resource a]]' \
        '[Resource a]' 'resource a' '[resource	a]'; do
        run_orv addresourceattr "$text"
        [ "$status" -eq 255 ]
        expect_output <<<"$usage_text"
        expect_unchanged "$CONF"
    done
    run_orv addresourceattr '[resource a]' extra
    [ "$status" -eq 255 ]
    expect_output <<<"$usage_text"
    expect_unchanged "$CONF"
}

@test "an unknown keyword already in orv.conf is accepted and kept" {
    echo 'ORV_LOCAL_RESOURCES="[tag x]"' >>"$CONF/orv.conf"
    run_orv addresourceattr '[resource y]'
    [ "$status" -eq 0 ]
    { default_conf; echo 'ORV_LOCAL_RESOURCES="[tag x] [resource y]"'; } | expect_file "$CONF/orv.conf"
}

@test "an existing value that does not parse fails with nothing changed" {
    echo 'ORV_LOCAL_RESOURCES="[resource x y]"' >>"$CONF/orv.conf"
    snapshot "$CONF"
    run_orv addresourceattr '[resource y]'
    [ "$status" -eq 255 ]
    expect_output <<<'Command failed.'
    expect_unchanged "$CONF"
}

@test "a host whose local configuration directory differs is not a compute host" {
    LOCAL=$T/local
    mkdir -p "$LOCAL"
    default_conf >"$LOCAL/orv.conf"
    snapshot "$T"
    ORV_LOCAL_CONFDIR_DIR=$LOCAL run_orv addresourceattr '[resource scvg]'
    [ "$status" -eq 255 ]
    expect_output <<OUT
This command can only be executed on compute hosts. This host does not appear to be a compute host because ORV_CONFDIR environment and ORV_LOCAL_CONFDIR are different.
ORV_CONFDIR:
    $CONF
ORV_LOCAL_CONFDIR:
    $LOCAL
Command failed.
OUT
    expect_unchanged "$T"
}

@test "a local directory reached through a link is the same directory" {
    ln -s "$CONF" "$T/linked"
    ORV_LOCAL_CONFDIR_DIR=$T/linked run_orv addresourceattr '[resource scvg]'
    [ "$status" -eq 0 ]
    { default_conf; printf '\nORV_LOCAL_RESOURCES="[resource scvg]"\n'; } | expect_file "$CONF/orv.conf"
}

@test "a master candidate is refused" {
    local blank=' '
    sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB hostA.lab.local"/' "$CONF/orv.conf"
    snapshot "$CONF"
    run_orv addresourceattr '[resource scvg]'
    [ "$status" -eq 255 ]
    expect_output <<OUT
This command cannot be executed on a master or master candidate host. This host appears to be a master or master candidate host because it is specified in parameter ORV_MASTER_LIST in \$ORV_CONFDIR/orv.conf.$blank
ORV_CONFDIR:
    $CONF
Command failed.
OUT
    expect_unchanged "$CONF"
}

@test "an empty master list is reported but does not stop the tag" {
    sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="@ORV_MASTER_LIST@"/' "$CONF/orv.conf"
    run_orv addresourceattr '[resource a]'
    [ "$status" -eq 0 ]
    expect_output <<'OUT'
You have not input any hosts in the master list. Specify the name of the master host and any master candidates.
Add resource tag successfully.
OUT
    { default_conf | sed 's/"hostB"/"@ORV_MASTER_LIST@"/'; printf '\nORV_LOCAL_RESOURCES="[resource a]"\n'; } |
        expect_file "$CONF/orv.conf"
}

@test "a caller who is not a cluster administrator is refused" {
    sed -i 's/^Administrators = .*/Administrators = admin1 admin2/' "$CONF/orv.cluster.cluster1"
    snapshot "$CONF"
    run_orv addresourceattr '[resource scvg]'
    [ "$status" -eq 255 ]
    expect_output <<'OUT'
You must be cluster administrator [admin1 admin2] to use orvconfig.
Command failed.
OUT
    expect_unchanged "$CONF"
}

@test "a directory in place of orv.conf is reported" {
    rm "$CONF/orv.conf"
    mkdir "$CONF/orv.conf"
    snapshot "$CONF"
    run_orv addresourceattr '[resource scvg]'
    [ "$status" -eq 255 ]
    expect_output <<OUT
Cannot open file $CONF/orv.conf.
Cannot open the file $CONF/orv.conf.
Command failed.
OUT
    expect_unchanged "$CONF"
}
