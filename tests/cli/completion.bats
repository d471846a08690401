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

# The table: the words after "orvconfig" (shell-quoted, the last one under the cursor)
# and the words offered, joined by ";" (nothing: none offered).
@test "what each position of the command line offers; --dry-run shifts nothing" {
    local words expected got
    while IFS='|' read -r words expected; do
        eval "set -- $words"
        complete_line orvconfig "$@"
        got=$(paste -sd';' <<<"$output")
        [ "$got" = "$(eval "echo \"$expected\"")" ] ||
            { echo "[$words]: offered [$got], expected [$expected]" >&2; return 1; }
    done <<'TABLE'
''|addresourceattr;hovhdfsport;join;masterlist;mghost;setbaseport;unsetmghost
m|masterlist;mghost
un|unsetmghost
-|--dry-run;-V;-h
--dry-run un|unsetmghost
--dry-run hovhdfsport s|set;show
x|
mghost ''|kirn;kirnish;my dir;share;vos;vosdata;zt
mghost k|kirn;kirnish
mghost z|zt
mghost "$WORK/sh"|$WORK/share
mghost "$WORK/share/"|$WORK/share/kernel
hovhdfsport ''|set;show
hovhdfsport sh|show
hovhdfsport set ''|
hovhdfsport show ''|
masterlist hostA,hostB ''|-f
join hostA -|-f
mghost /share ''|-f
unsetmghost ''|-f
setbaseport ''|
setbaseport 7869 ''|
addresourceattr '[resource scvg]' ''|
hovhdfsport set 9000 ''|
unsetmghost -f ''|
masterlist hostA -f ''|
mghost /share -f ''|
join -|
join host|hostA;hostA.lab.local;hostB;hostB.lab.local;hostC
masterlist hostA,hostB|hostA,hostB;hostA,hostB.lab.local
masterlist hostA,|hostA,hostA;hostA,hostA.lab.local;hostA,hostB;hostA,hostB.lab.local;hostA,hostC;hostA,localhost
TABLE
}
