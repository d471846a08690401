#!/usr/bin/env bats
# Hostile input: huge arguments and lines, NUL bytes, invalid UTF-8, CRLF endings, binary
# garbage in every kind of file, special files and directories where files are expected,
# unreadable and read-only files, links planted at ".tmp" paths. Every case must end with
# its message and status, leave what it refused untouched, and never crash or hang (the
# binary runs under the sanitizers, whose reports would show in the output).

load helpers

CANNOT_GET_NAME='Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt.'
ML_TAIL='. To make changes take effect, restart ORV on the master host with the command orvsh orv restart.'

setup() {
    orv_setup_tree
    SERVICES=$TOP/oservice/osc/conf/services
    sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostA hostB"/' "$CONF/orv.conf"
    sed -i '/^HOSTNAME/a hostA     !        !           1      -    -    -    (mg linux)\nhostB     !        !           1      -    -    -    (mg linux)' \
        "$CONF/orv.cluster.cluster1"
}

# No sanitizer report, no death by a signal, and the expected status.
expect_status() {
    if [[ "$output" == *Sanitizer* || "$output" == *"runtime error"* ]]; then
        echo "--- sanitizer report: $output" >&2
        return 1
    fi
    [ "$status" -eq "$1" ] || { echo "--- status $status, expected $1: $output" >&2; return 1; }
}

# Deterministic binary garbage of $1 bytes (every byte value, NULs and newlines included).
garbage() {
    perl -e 'srand(20260101); print map { chr(int(rand(256))) } 1 .. $ARGV[0]' "$1"
}

# A word of 131000 characters, near the 128 KiB that Linux allows for one argument.
huge_word() {
    head -c 131000 </dev/zero | tr '\0' "$1"
}

# The default orv.conf with hostA and hostB as master candidates.
candidates_conf() {
    orv_conf_text 'hostA hostB'
}

# ---- huge arguments ----

@test "huge host names are refused as invalid host names" {
    local name
    name=$(huge_word h)
    snapshot "$T"
    run_orv masterlist "$name"
    expect_status 255
    expect_output <<EOF
[$name] is not a valid host name.
Command failed.
EOF
    run_orv join "$name" -f
    expect_status 255
    expect_output <<EOF
[$name] is not a valid host name.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "huge port numbers are refused by the range test" {
    local digits
    digits=$(huge_word 9)
    snapshot "$T"
    run_orv setbaseport "$digits"
    expect_status 255
    expect_output <<EOF
Invalid base port $digits. The base port must be larger than 1024 and less than 65532.
Command failed.
EOF
    run_orv hovhdfsport set "$digits"
    expect_status 255
    expect_output <<'EOF'
Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than 1024 but lower than 65532.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "a huge shared top is refused and nothing is created" {
    mg_write_kernel_install "$TOP"
    sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB"/' "$CONF/orv.conf"
    snapshot "$T"
    run_orv mghost "/$(huge_word d)" -f
    expect_status 255
    expect_output <<'EOF'
The shared directory path was not found. Ensure that: (1) <orvconfig mghost> has been run on the Master Host; and (2) the correct shared directory path is used.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "a huge resource tag is merged whole into a line far over the parser's limit" {
    local tag
    tag=$(huge_word t)
    sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB"/' "$CONF/orv.conf"
    run_orv addresourceattr "[resource $tag]"
    expect_status 0
    expect_output <<<'Add resource tag successfully.'
    { candidates_conf | sed 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB"/'
      echo
      echo "ORV_LOCAL_RESOURCES=\"[resource $tag]\""; } | expect_file "$CONF/orv.conf"
}

# ---- huge lines, NUL bytes, invalid UTF-8, line endings ----

@test "a 1 MB line in orv.conf survives a rewrite byte for byte" {
    local big
    big="# $(head -c 1048576 </dev/zero | tr '\0' x)"
    { candidates_conf; echo "$big"; } >"$CONF/orv.conf"
    run_orv masterlist hostB,hostA
    expect_status 0
    expect_output <<<"The master host failover order is hostB,hostA$ML_TAIL"
    { candidates_conf | sed 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB hostA"/'
      echo "$big"; } | expect_file "$CONF/orv.conf"
}

@test "a 1 MB host line in the cluster file is read, and the cluster file left alone" {
    local big
    big="hostZ$(head -c 1048576 </dev/zero | tr '\0' z) ! ! 1 - - - (linux)"
    grep -v '^End Host' "$CONF/orv.cluster.cluster1" >"$T/cluster"
    printf '%s\nEnd Host\n' "$big" >>"$T/cluster"
    mv "$T/cluster" "$CONF/orv.cluster.cluster1"
    cp "$CONF/orv.cluster.cluster1" "$T/cluster.before"
    run_orv masterlist hostB,hostA
    expect_status 0
    cmp "$T/cluster.before" "$CONF/orv.cluster.cluster1"
}

@test "a 1 MB line in an XML profile: the value is read and rewritten around it" {
    local big
    big="<!-- $(head -c 1048576 </dev/zero | tr '\0' c) -->"
    printf '%s\n<Service>\n    <EnvVar name="HOV_HDFS_PORT">8020</EnvVar>\n</Service>\n' "$big" \
        >"$SERVICES/namenode.xml"
    run_orv hovhdfsport show
    expect_status 0
    expect_output <<<'8020 will be used as the HDFS service port, set as HOV_HDFS_PORT.'
}

@test "NUL bytes and invalid UTF-8 in untouched lines are kept byte for byte" {
    { candidates_conf; printf '# caf\xe9 \xff\xfe\x80 na\0me\n'; } >"$CONF/orv.conf"
    run_orv masterlist hostB,hostA
    expect_status 0
    expect_output <<<"The master host failover order is hostB,hostA$ML_TAIL"
    { candidates_conf | sed 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB hostA"/'
      printf '# caf\xe9 \xff\xfe\x80 na\0me\n'; } | expect_file "$CONF/orv.conf"
}

@test "CRLF line endings and a missing final newline come back as plain lines" {
    candidates_conf | sed 's/$/\r/' | head -c -2 >"$CONF/orv.conf"
    run_orv masterlist hostB,hostA
    expect_status 0
    expect_output <<<"The master host failover order is hostB,hostA$ML_TAIL"
    candidates_conf | sed 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB hostA"/' |
        expect_file "$CONF/orv.conf"
}

# ---- binary garbage ----

@test "binary garbage as orv.conf: the master list is reported missing" {
    garbage 8192 >"$CONF/orv.conf"
    snapshot "$T"
    run_orv masterlist hostB,hostA
    expect_status 255
    expect_output <<EOF
The parameter [ORV_MASTER_LIST] cannot be found in file [$CONF/orv.conf]. Please check your configuration file.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "binary garbage as the cluster file: nobody is an administrator" {
    garbage 8192 >"$CONF/orv.cluster.cluster1"
    snapshot "$T"
    run_orv join hostA -f
    expect_status 255
    expect_output <<'EOF'
You must be cluster administrator [] to use orvconfig.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "binary garbage as orv.shared: no cluster name" {
    garbage 8192 >"$CONF/orv.shared"
    snapshot "$T"
    run_orv setbaseport 20000
    expect_status 255
    expect_output <<EOF
$CANNOT_GET_NAME
Command failed.
EOF
    expect_unchanged "$T"
}

@test "binary garbage as an XML profile: no port to show, a set leaves no value behind" {
    garbage 8192 >"$SERVICES/namenode.xml"
    run_orv hovhdfsport show
    expect_status 0
    expect_output <<<'0 will be used as the HDFS service port, set as HOV_HDFS_PORT.'
    local port
    port=$(orv_free_base 1)
    run_orv hovhdfsport set "$port"
    expect_status 0
    expect_output <<<"Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is $port."
    ! grep -qF "$port" "$SERVICES/namenode.xml" || false
    expect_no_tmp "$T"
}

@test "binary garbage as a change script: format warnings, no crash, no copy left" {
    mg_setup_master
    garbage 4096 >"$TOP/.install/mgupdate.txt"
    run_orv mghost "$SHARE" -f
    expect_status 0
    # The garbage lines that hold a "#" are skipped whole; the others are malformed.
    local n copy=$TOP/.install/mgupdate.txt.tmp
    expect_output <<EOF
$(for n in 4 5 6 8 9 10; do echo "Warning: The format of file $copy is error in line $n. "; done)
The shared configuration directory is $SHARE/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $TOP/cshrc.tolvane or $TOP/profile.tolvane again.
EOF
    expect_no_tmp "$TOP/.install"
}

# ---- special files and directories where files are expected ----

@test "a directory as orv.conf is a file that cannot be opened" {
    rm "$CONF/orv.conf"
    mkdir "$CONF/orv.conf"
    snapshot "$T"
    run_orv masterlist hostB,hostA
    expect_status 255
    expect_output <<EOF
Cannot open file $CONF/orv.conf.
Command failed.
EOF
    expect_unchanged "$T"
}

@test "FIFOs as orv.conf, the cluster file and a profile: no hang, the open fails" {
    rm "$CONF/orv.conf"
    mkfifo "$CONF/orv.conf"
    run_orv_timeout 20 masterlist hostB,hostA
    expect_status 255
    expect_output <<EOF
Cannot open file $CONF/orv.conf.
Command failed.
EOF
    rm "$CONF/orv.conf" "$CONF/orv.cluster.cluster1"
    orv_write_default_conf "$CONF"
    rm "$CONF/orv.cluster.cluster1"
    mkfifo "$CONF/orv.cluster.cluster1"
    run_orv_timeout 20 join hostA -f
    expect_status 255
    expect_output <<EOF
Cannot open the file $CONF/orv.cluster.cluster1.
Command failed.
EOF
}

@test "a FIFO as an XML profile and at a .tmp path: no hang, the edit fails" {
    mkfifo "$SERVICES/namenode.xml"
    local port
    port=$(orv_free_base 1)
    run_orv_timeout 20 hovhdfsport set "$port"
    expect_status 255
    expect_output <<EOF
Cannot open file $CONF/../../oservice/osc/conf/services/namenode.xml.
Set HOV_HDFS_PORT in $port failed.
Command failed.
Command failed.
EOF
    mkfifo "$CONF/orv.conf.tmp"
    cp "$CONF/orv.conf" "$T/orv.conf.before"
    run_orv_timeout 20 masterlist hostB,hostA
    expect_status 255
    expect_output <<EOF
Cannot open file $CONF/orv.conf.
Command failed.
EOF
    cmp "$T/orv.conf.before" "$CONF/orv.conf"
    [ -p "$CONF/orv.conf.tmp" ]
}

# ---- permissions (run as an unprivileged user, since root ignores modes) ----

@test "an unreadable orv.conf cannot be opened" {
    chmod 000 "$CONF/orv.conf"
    run_orv_unprivileged masterlist hostB,hostA
    expect_status 255
    expect_output <<EOF
Cannot open file $CONF/orv.conf.
Command failed.
EOF
    chmod 644 "$CONF/orv.conf"
    candidates_conf | expect_file "$CONF/orv.conf"
}

@test "a read-only orv.conf is left as it was, with no .tmp beside it" {
    chmod 444 "$CONF/orv.conf"
    run_orv_unprivileged masterlist hostB,hostA
    expect_status 255
    expect_output <<EOF
Cannot open file $CONF/orv.conf.
Command failed.
EOF
    candidates_conf | expect_file "$CONF/orv.conf"
    expect_no_tmp "$T"
}

@test "a read-only configuration directory is refused before anything is read" {
    chmod 555 "$CONF"
    run_orv_unprivileged addresourceattr "[resource scvg]"
    expect_status 255
    expect_output <<EOF
You do not have permission to modify the cluster configuration directory $CONF.
Command failed.
EOF
    chmod 755 "$CONF"
    candidates_conf | expect_file "$CONF/orv.conf"
}

# ---- links planted at .tmp paths ----

@test "a symbolic link at orv.conf.tmp: its target stays untouched and the edit fails" {
    printf 'precious\n' >"$T/victim"
    ln -s "$T/victim" "$CONF/orv.conf.tmp"
    run_orv masterlist hostB,hostA
    expect_status 255
    expect_output <<EOF
Cannot open file $CONF/orv.conf.
Command failed.
EOF
    expect_file "$T/victim" <<<'precious'
    candidates_conf | expect_file "$CONF/orv.conf"
    [ -L "$CONF/orv.conf.tmp" ]
}

@test "a dangling link at a .tmp path creates nothing at its target" {
    # The cluster file's rewrite refuses the link; like any failure of that rewrite it is
    # reported by the command's failure alone.
    ln -s "$T/created-by-link" "$CONF/orv.cluster.cluster1.tmp"
    sed -i '/^host[AB] /d' "$CONF/orv.cluster.cluster1"
    sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="@ORV_MASTER_LIST@"/' "$CONF/orv.conf"
    run_orv join hostA -f
    expect_status 255
    expect_output <<<'Command failed.'
    [ ! -e "$T/created-by-link" ]
    [ -L "$CONF/orv.cluster.cluster1.tmp" ]
}
