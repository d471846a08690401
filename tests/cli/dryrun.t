--dry-run: the preview prints the real run's messages and status, leaves the tree as it was
(bytes, modes, mtimes, no ".tmp"), and its diff, applied with the directories it lists made
to the tree as it was, gives byte for byte the tree of the real run.

  $ . "$TESTDIR/helpers.bash"
  $ state() { (cd "$T" && find . -printf '%p %y %s %m %T@\n' | LC_ALL=C sort && find . -type f -exec sha256sum {} + | LC_ALL=C sort); }
  $ preview() { # prints the report after the messages; fails loudly on any difference
  >   rm -rf "$T.orig" "$T.real"; state >state.before; cp -a "$T" "$T.orig"
  >   orvx --dry-run "$@" >dry.out 2>&1; local st=$?; state | diff state.before - || echo "the dry run changed the tree"
  >   orvx "$@" >real.out 2>&1; [ $? = $st ] || echo "status $st, the real run's $?"
  >   head -c "$(wc -c <real.out)" dry.out | cmp -s - real.out || echo "other messages than the real run's"
  >   tail -c +"$(($(wc -c <real.out) + 1))" dry.out >report; mv "$T" "$T.real"; cp -a "$T.orig" "$T"
  >   sed -n 's/^Would make the directory \(.*\)\.$/\1/p' report | while read -r d; do mkdir "$d"; done
  >   ! grep -q '^--- ' report || patch -s -p1 -d / --no-backup-if-mismatch <report
  >   diff -r "$T.real" "$T" && orv_paths <report | grep -v '^[-+ @]' ; return $st
  > }
  $ fixture demote; preview masterlist hostA,hostC >/dev/null; orv_paths <report
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
  Dry run: nothing was changed.
  $ mg_add_vos "$CTOP"; sed -i "s|^VOS_ORV_ENVDIR=.*|VOS_ORV_ENVDIR=$SCONF|" "$CTOP/vos/conf/vos.conf"; rm "$CTOP/vos/conf/profile.vos"; mkdir "$CTOP/vos/conf/profile.vos"
  $ VOS_ENVDIR_DIR=$CTOP/vos/conf preview unsetmghost -f
  Dry run: nothing was changed.
  [255]

mghost on the master (directories made, files copied, then the copies edited), with a
product, and on a candidate after it.

  $ fixture master; mg_add_kirn; mg_add_vos; preview mghost "$SHARE" -f
  Would make the directory $T/share/kernel.
  Would make the directory $T/share/kernel/conf.
  Would make the directory $T/share/kernel/conf/services.
  Would make the directory $T/share/kernel/conf/services/profiles.
  Would make the directory $T/share/vos.
  Would make the directory $T/share/vos/conf.
  Would make the directory $T/share/kirn.
  Would make the directory $T/share/kirn/conf.
  Would make the directory $T/share/kirn/conf/deploy.
  Dry run: nothing was changed.
  $ orvx mghost "$SHARE" -f >/dev/null; mg_setup_candidate hostB; preview mghost "$SHARE" -f
  Dry run: nothing was changed.

join (a new cluster rewrites orv.conf twice, and an existing one), setbaseport,
hovhdfsport set, addresourceattr, and a refusal that changes nothing.

  $ fixture; preview join hostA -f; fixture; preview join hostB -f
  Dry run: nothing was changed.
  Dry run: nothing was changed.
  $ fixture; for n in namenode secondarynode datanode; do printf '<Service>\n    <Environment name="HOV_HDFS_PORT">9000</Environment>\n</Service>\n' >"$TOP/oservice/osc/conf/services/$n.xml"; done
  $ preview setbaseport "$(orv_free_base 12)"; preview hovhdfsport set "$(orv_free_base 1)"; preview addresourceattr '[resource scvg]'
  Dry run: nothing was changed.
  Dry run: nothing was changed.
  Dry run: nothing was changed.
  $ preview masterlist ghost
  Dry run: nothing was changed.
  [255]
