#!/usr/bin/env bats
# --dry-run: for each case, the preview prints the real run's messages and status, leaves
# the tree as it was (bytes, modes and mtimes, no ".tmp"), and its diff, applied to the
# tree as it was (with the directories it lists made), gives byte for byte the tree of
# the real run.

load helpers

# The state a dry run must not change: every path's kind, size, mode and mtime, and the
# content of every file.
tree_state() {
    (cd "$T" && find . -printf '%p %y %s %m %T@\n' | LC_ALL=C sort &&
        find . -type f -print0 | LC_ALL=C sort -z | xargs -0 sha256sum)
}

# check_preview ARGS...: the dry run of ARGS against the real run of ARGS.
check_preview() {
    rm -rf "$T.orig" "$T.real"
    tree_state >"$BATS_TEST_TMPDIR/before"
    cp -a "$T" "$T.orig"
    run_orv --dry-run "$@"
    local dry_status=$status dry_output=$output
    tree_state | diff "$BATS_TEST_TMPDIR/before" -
    run_orv "$@"
    [ "$dry_status" -eq "$status" ]
    local report=${dry_output#"$output"}
    [ "$report" != "$dry_output" ] || [ -z "$output" ]
    report=${report#$'\n'}
    [ "${report##*$'\n'}" = "Dry run: nothing was changed." ]
    mv "$T" "$T.real"
    cp -a "$T.orig" "$T"
    local d
    sed -n 's/^Would make the directory \(.*\)\.$/\1/p' <<<"$report" | while read -r d; do mkdir "$d"; done
    if grep -q '^--- ' <<<"$report"; then
        printf '%s\n' "$report" | patch -s -p1 -d / --no-backup-if-mismatch
    fi
    diff -r "$T.real" "$T"
    PREVIEW=$report
}

@test "masterlist: one key line changed" {
    mg_setup_demote
    check_preview masterlist hostA,hostC
    expect_output <<<"The master host failover order is hostA,hostC. To make changes take effect, restart ORV on the master host with the command orvsh orv restart."
    cat >"$BATS_TEST_TMPDIR/expected" <<EOF
--- $SCONF/orv.conf
+++ $SCONF/orv.conf
@@ -1,5 +1,5 @@
 # ORV kernel configuration
-ORV_MASTER_LIST="hostA hostB hostC"
+ORV_MASTER_LIST="hostA hostC"
 ORV_LIM_PORT=7869
 ORV_KD_PORT=7870
 ORV_WORKDIR=$TOP/kernel/work
Dry run: nothing was changed.
EOF
    [ "$PREVIEW" = "$(cat "$BATS_TEST_TMPDIR/expected")" ]
}

@test "mghost on the master: directories made, files copied, then the copies edited" {
    mg_setup_master
    mg_add_kirn
    check_preview mghost "$SHARE" -f
    grep -qx "Would make the directory $RSHARE/kernel/conf." <<<"$PREVIEW"
    grep -qx -- "--- /dev/null" <<<"$PREVIEW"
}

@test "mghost on a candidate after the master" {
    mg_setup_master
    run_orv mghost "$SHARE" -f
    mg_setup_candidate hostB
    check_preview mghost "$SHARE" -f
}

@test "join: a new cluster rewrites orv.conf twice, and an existing one" {
    orv_setup_tree
    check_preview join hostA -f
    rm -rf "$T"
    orv_setup_tree
    check_preview join hostB -f
}

@test "unsetmghost, and a demotion stopped by a file that cannot be rewritten" {
    mg_setup_demote
    check_preview unsetmghost -f
    rm -rf "$T"
    mg_setup_demote
    mg_add_vos "$CTOP"
    sed -i "s|^VOS_ORV_ENVDIR=.*|VOS_ORV_ENVDIR=$SCONF|" "$CTOP/vos/conf/vos.conf"
    rm "$CTOP/vos/conf/profile.vos"
    mkdir "$CTOP/vos/conf/profile.vos"
    VOS_ENVDIR_DIR=$CTOP/vos/conf check_preview unsetmghost -f
    [ "$status" -eq 255 ]
}

@test "setbaseport, addresourceattr, and a refusal that changes nothing" {
    orv_setup_tree
    check_preview setbaseport "$(orv_free_base 12)"
    check_preview addresourceattr '[resource scvg]'
    check_preview masterlist ghost
    [ "$status" -eq 255 ]
    [ "$PREVIEW" = "Dry run: nothing was changed." ]
}

@test "hovhdfsport set: the port in each HDFS profile, and a product promoted with the kernel" {
    orv_setup_tree
    local name
    for name in namenode secondarynode datanode; do
        printf '<Service name="%s">\n    <Environment name="HOV_HDFS_PORT">9000</Environment>\n</Service>\n' \
            "$name" >"$TOP/oservice/osc/conf/services/$name.xml"
    done
    check_preview hovhdfsport set "$(orv_free_base 1)"
    [ "$(grep -c '^+    <Environment name="HOV_HDFS_PORT">' <<<"$PREVIEW")" -eq 3 ]
    rm -rf "$T"
    mg_setup_master
    mg_add_vos
    check_preview mghost "$SHARE" -f
}
