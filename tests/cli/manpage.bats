#!/usr/bin/env bats
# The manual page orvconfig(1): it formats without a single warning, and it documents
# what the binary actually offers.

load helpers
bats_require_minimum_version 1.5.0

setup() {
    SRC=${ORV_SOURCE_DIR:-$BATS_TEST_DIRNAME/../..}
    PAGE=$SRC/docs/orvconfig.1
}

# Renders the page as plain text, 80 columns wide.
render() {
    command -v mandoc >/dev/null || skip "mandoc is not installed"
    mandoc -Tascii -O width=80 "$PAGE" | col -b
}

# The entries of one section: lines indented by exactly seven blanks.
section_entries() {
    render | sed -n "/^$1\$/,/^[A-Z]/p" | grep -E '^       [^ ]' | sed 's/^ *//'
}

@test "mandoc and groff format the page without any warning" {
    command -v mandoc >/dev/null || skip "mandoc is not installed"
    command -v groff >/dev/null || skip "groff is not installed"
    run mandoc -Tlint -W warning "$PAGE"
    [ "$status" -eq 0 ]
    [ -z "$output" ]
    run groff -man -ww -z "$PAGE"
    [ "$status" -eq 0 ]
    [ -z "$output" ]
}

@test "man -l renders the page and its sections in the conventional order" {
    command -v man >/dev/null || skip "man is not installed"
    run --separate-stderr env MANWIDTH=80 MAN_KEEP_FORMATTING= man -l "$PAGE"
    [ "$status" -eq 0 ]
    [ -z "$stderr" ]
    output=$(printf '%s\n' "$output" | col -b | grep -E '^[A-Z][A-Z ]+$')
    expect_output <<'EOF'
NAME
SYNOPSIS
DESCRIPTION
SUBCOMMANDS
OPTIONS
ENVIRONMENT
FILES
EXIT STATUS
EXAMPLES
WHAT ORVCONFIG NEVER DOES
SAFETY
DIAGNOSTICS
EOF
}

@test "the synopsis and the subcommand entries name every subcommand with its operands" {
    output=$(render | sed -n '/^SYNOPSIS$/,/^DESCRIPTION$/s/^ \{1,\}//p')
    expect_output <<'EOF'
orvconfig [--dry-run] subcommand [operand...]
orvconfig masterlist host_name[,host_name,...] [-f]
orvconfig join master_name [-f]
orvconfig mghost shared_top [-f]
orvconfig mghost vos | kirn | zt [-f]
orvconfig unsetmghost [-f]
orvconfig setbaseport base_port_no
orvconfig hovhdfsport show
orvconfig hovhdfsport set port_no
orvconfig addresourceattr "[resource resource_name] [resourcemap
value*resource_name] ..."
orvconfig -h
orvconfig -V
EOF
    output=$(section_entries SUBCOMMANDS)
    expect_output <<'EOF'
masterlist host_name[,host_name,...]
join master_name
mghost shared_top
mghost vos | kirn | zt
unsetmghost
setbaseport base_port_no
hovhdfsport show
hovhdfsport set port_no
addresourceattr tags
EOF
}

@test "options, environment variables and exit statuses each have an entry" {
    output=$(section_entries OPTIONS | grep -E '^-')
    expect_output <<'EOF'
--dry-run
-f     Given as the last argument of masterlist, join, mghost and
-h     Prints the list of subcommands with a short description of each,
-V     Writes the version banner to standard error and exits with status
EOF
    output=$(section_entries ENVIRONMENT | grep -E '^[A-Z_]+$')
    expect_output <<'EOF'
ORV_CONFDIR
ORV_LOCAL_CONFDIR
ORV_TOP
VOS_ENVDIR
ORVCONFIG_LOCK_WAIT
EOF
    output=$(section_entries 'EXIT STATUS' | awk '{print $1}')
    expect_output <<'EOF'
0
255
EOF
}

@test "every subcommand has an example" {
    output=$(render | sed -n '/^EXAMPLES$/,/^[A-Z]/p' | grep -oE 'orvconfig [a-z]+( (show|set))?' | sort -u)
    expect_output <<'EOF'
orvconfig addresourceattr
orvconfig hovhdfsport set
orvconfig hovhdfsport show
orvconfig join
orvconfig masterlist
orvconfig mghost
orvconfig setbaseport
orvconfig unsetmghost
EOF
}

@test "the page documents every subcommand that orvconfig -h lists" {
    [ -x "$ORVCONFIG" ] || skip "ORVCONFIG does not name a built binary"
    run "$ORVCONFIG" -h
    [ "$status" -eq 0 ]
    local listed documented
    listed=$(printf '%s\n' "$output" | sed -n 's/^   \([a-z][a-z]*\).*/\1/p' | sort -u)
    [ -n "$listed" ]
    documented=$(section_entries SUBCOMMANDS | awk '{print $1}' | sort -u)
    [ "$listed" = "$documented" ]
}

@test "the page carries the version of the project" {
    local version
    version=$(sed -n 's/^project(orvconfig VERSION \([0-9.]*\).*/\1/p' "$SRC/CMakeLists.txt")
    [ -n "$version" ]
    run grep -c "^\.TH ORVCONFIG 1 \"[0-9-]*\" \"orvconfig $version\" " "$PAGE"
    [ "$output" = 1 ]
}
