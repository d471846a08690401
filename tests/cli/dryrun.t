--dry-run prints the real run's messages and status, leaves the tree as it was (bytes, modes,
mtimes, no ".tmp"), and its diff applied to that tree gives byte for byte the real run's tree.

  $ . "$TESTDIR/helpers.bash"
  $ state() { (cd "$T" && find . -printf '%p %y %s %m %T@\n' | LC_ALL=C sort && find . -type f -exec sha256sum {} + | LC_ALL=C sort); }
  $ preview() { # ARGS: [status] the files and directories in the report; and any difference
  >   rm -rf "$T.orig" "$T.real"; state >state.before; cp -a "$T" "$T.orig"
  >   orvx --dry-run "$@" >dry.out 2>&1; local st=$?; state | diff state.before - || echo "the dry run changed the tree"
  >   orvx "$@" >real.out 2>&1; [ $? = $st ] || echo "status $st, the real run's $?"
  >   head -c "$(wc -c <real.out)" dry.out | cmp -s - real.out || echo "other messages than the real run's"
  >   tail -c +"$(($(wc -c <real.out) + 1))" dry.out >report; mv "$T" "$T.real"; cp -a "$T.orig" "$T"
  >   sed -n 's/^Would make the directory \(.*\)\.$/\1/p' report | while read -r d; do mkdir "$d"; done
  >   ! grep -q '^--- ' report || patch -s -p1 -d / --no-backup-if-mismatch <report
  >   diff -r "$T.real" "$T" && [ "$(tail -n 1 report)" = "Dry run: nothing was changed." ] || echo "not the real run's tree, or no last line"
  >   echo "$*: [$st] $(grep -c '^+++ ' report) files, $(grep -c '^Would make the directory' report) directories" | orv_paths
  > }
  $ fixture demote; preview masterlist hostA,hostC; orv_paths <report
  masterlist hostA,hostC: [0] 1 files, 0 directories
  --- $T/share/kernel/conf/orv.conf
  +++ $T/share/kernel/conf/orv.conf
  @@ -1,5 +1,5 @@
   # ORV kernel configuration
  -ORV_MASTER_LIST="hostA hostB hostC"
  +ORV_MASTER_LIST="hostA hostC"
   ORV_LIM_PORT=7869
   ORV_KD_PORT=7870
   ORV_WORKDIR=$T/top/kernel/work
  Dry run: nothing was changed.
  $ preview unsetmghost -f
  unsetmghost -f: [0] 4 files, 0 directories
  $ mg_add_vos "$CTOP"; sed -i "s|^VOS_ORV_ENVDIR=.*|VOS_ORV_ENVDIR=$SCONF|" "$CTOP/vos/conf/vos.conf"; rm "$CTOP/vos/conf/profile.vos"; mkdir "$CTOP/vos/conf/profile.vos"
  $ VOS_ENVDIR_DIR=$CTOP/vos/conf preview unsetmghost -f
  unsetmghost -f: [255] 0 files, 0 directories

mghost on the master (directories made, copies edited) with products, then on a candidate.

  $ fixture master; mg_add_kirn; mg_add_vos; preview mghost "$SHARE" -f
  mghost $T/share -f: [0] 15 files, 9 directories
  $ orvx mghost "$SHARE" -f >/dev/null; mg_setup_candidate hostB; preview mghost "$SHARE" -f
  mghost $T/share -f: [0] 4 files, 0 directories

join (a new cluster, an existing one), the port commands, a tag, a refusal.

  $ fixture; preview join hostA -f; fixture; preview join hostB -f
  join hostA -f: [0] 3 files, 0 directories
  join hostB -f: [0] 1 files, 0 directories
  $ fixture; for n in namenode secondarynode datanode; do printf '<Service>\n    <Environment name="HOV_HDFS_PORT">9000</Environment>\n</Service>\n' >"$TOP/oservice/osc/conf/services/$n.xml"; done
  $ export B; B=$(orv_free_base 12); preview setbaseport $B | rel; B=$(orv_free_base 1); preview hovhdfsport set $B | rel
  setbaseport B: [0] 1 files, 0 directories
  hovhdfsport set B: [0] 3 files, 0 directories
  $ preview addresourceattr '[resource scvg]'
  addresourceattr [resource scvg]: [0] 1 files, 0 directories
  $ preview masterlist ghost
  masterlist ghost: [255] 0 files, 0 directories
