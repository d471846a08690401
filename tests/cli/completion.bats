#!/usr/bin/env bats
# Bash completion of orvconfig: the script is sourced into a clean bash and its function
# is called with COMP_WORDS/COMP_CWORD set as readline would set them.

load helpers

setup() {
    SRC=${ORV_SOURCE_DIR:-$BATS_TEST_DIRNAME/../..}
    SCRIPT=$SRC/completion/orvconfig
    WORK=$BATS_TEST_TMPDIR/work
    mkdir -p "$WORK/share/kernel" "$WORK/kirnish" "$WORK/my dir" "$WORK/vosdata"
    touch "$WORK/share.txt" "$WORK/vosfile"
    printf '127.0.0.1 localhost\n10.0.0.1 hostA.lab.local hostA\n10.0.0.2 hostB.lab.local hostB\n10.0.0.3 hostC\n' \
        >"$BATS_TEST_TMPDIR/hosts"
}

# complete WORD...: the command line split into words, the last one being the word
# under the cursor (possibly empty). Sets $output to the offered words, sorted, one a
# line, and $status to the function's status.
complete_line() {
    # shellcheck disable=SC2016 # the script is expanded by the inner bash
    run env -i PATH="$PATH" HOME="$WORK" HOSTFILE="$BATS_TEST_TMPDIR/hosts" \
        bash --norc --noprofile -c '
            cd "$1" || exit 9
            source "$2" || exit 8
            shift 2
            COMP_WORDS=("$@")
            COMP_CWORD=$(($# - 1))
            COMP_LINE="$*"
            COMP_POINT=${#COMP_LINE}
            _orvconfig orvconfig "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD-1]}"
            rc=$?
            ((${#COMPREPLY[@]})) && printf "%s\n" "${COMPREPLY[@]}" | LC_ALL=C sort
            exit $rc' bash "$WORK" "$SCRIPT" "$@"
    if [ "$status" -ne 0 ]; then
        echo "completion of [$*] ended with status $status: $output" >&2
        return 1
    fi
}

@test "the script registers its function for orvconfig and nothing else" {
    run bash --norc --noprofile -c 'source "$1" && complete -p' bash "$SCRIPT"
    [ "$status" -eq 0 ]
    expect_output <<'EOF'
complete -F _orvconfig orvconfig
EOF
}

@test "the first word completes to the subcommands, a dash to the options; --dry-run shifts nothing" {
    complete_line orvconfig ""
    expect_output <<'EOF'
addresourceattr
hovhdfsport
join
masterlist
mghost
setbaseport
unsetmghost
EOF
    complete_line orvconfig m
    expect_output <<'EOF'
masterlist
mghost
EOF
    complete_line orvconfig un
    expect_output <<<unsetmghost
    complete_line orvconfig -
    expect_output <<'EOF'
--dry-run
-V
-h
EOF
    complete_line orvconfig --dry-run un
    expect_output <<<unsetmghost
    complete_line orvconfig --dry-run hovhdfsport s
    expect_output <<<$'set\nshow'
    complete_line orvconfig x
    [ -z "$output" ]
}

@test "the subcommand words are exactly those that orvconfig -h lists" {
    [ -x "$ORVCONFIG" ] || skip "ORVCONFIG does not name a built binary"
    run "$ORVCONFIG" -h
    [ "$status" -eq 0 ]
    local listed
    listed=$(printf '%s\n' "$output" | sed -n 's/^   \([a-z][a-z]*\).*/\1/p' | LC_ALL=C sort -u)
    [ -n "$listed" ]
    complete_line orvconfig ""
    [ "$output" = "$listed" ]
}

@test "mghost offers its product keywords and directories, never plain files" {
    complete_line orvconfig mghost ""
    expect_output <<'EOF'
kirn
kirnish
my dir
share
vos
vosdata
zt
EOF
    complete_line orvconfig mghost k
    expect_output <<'EOF'
kirn
kirnish
EOF
    complete_line orvconfig mghost z
    expect_output <<<zt
    complete_line orvconfig mghost "$WORK/sh"
    expect_output <<<"$WORK/share"
    complete_line orvconfig mghost "$WORK/share/"
    expect_output <<<"$WORK/share/kernel"
}

@test "hovhdfsport offers show and set, then nothing for the port" {
    complete_line orvconfig hovhdfsport ""
    expect_output <<'EOF'
set
show
EOF
    complete_line orvconfig hovhdfsport sh
    expect_output <<<show
    complete_line orvconfig hovhdfsport set ""
    [ -z "$output" ]
    complete_line orvconfig hovhdfsport show ""
    [ -z "$output" ]
}

@test "-f is offered after the operand of masterlist, join and mghost, and after unsetmghost" {
    complete_line orvconfig masterlist hostA,hostB ""
    expect_output <<<-f
    complete_line orvconfig join hostA -
    expect_output <<<-f
    complete_line orvconfig mghost /share ""
    expect_output <<<-f
    complete_line orvconfig unsetmghost ""
    expect_output <<<-f
}

@test "-f is never offered where the command line would refuse it" {
    # Subcommands without a trailing -f.
    complete_line orvconfig setbaseport ""
    [ -z "$output" ]
    complete_line orvconfig setbaseport 7869 ""
    [ -z "$output" ]
    complete_line orvconfig addresourceattr "[resource scvg]" ""
    [ -z "$output" ]
    complete_line orvconfig hovhdfsport set 9000 ""
    [ -z "$output" ]
    # In place of the operand, and after the -f.
    complete_line orvconfig unsetmghost -f ""
    [ -z "$output" ]
    complete_line orvconfig masterlist hostA -f ""
    [ -z "$output" ]
    complete_line orvconfig mghost /share -f ""
    [ -z "$output" ]
    complete_line orvconfig join -
    [ -z "$output" ]
}

@test "join completes host names and masterlist the last name of its comma list" {
    complete_line orvconfig join host
    expect_output <<'EOF'
hostA
hostA.lab.local
hostB
hostB.lab.local
hostC
EOF
    complete_line orvconfig masterlist hostA,hostB
    expect_output <<'EOF'
hostA,hostB
hostA,hostB.lab.local
EOF
    complete_line orvconfig masterlist hostA,
    expect_output <<'EOF'
hostA,hostA
hostA,hostA.lab.local
hostA,hostB
hostA,hostB.lab.local
hostA,hostC
hostA,localhost
EOF
}
