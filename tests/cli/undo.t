Every changing run is journaled: undo -f gives the tree back byte for byte, modes included,
created files and directories gone; history lists the changing runs only.

  $ . "$TESTDIR/helpers.bash"
  $ state() { (cd "$T" && find . -printf '%p %y %s %m\n' | LC_ALL=C sort && find . -type f -exec sha256sum {} + | LC_ALL=C sort); }
  $ ids() { sed -E 's/[0-9]{8}-[0-9]{6}\.[0-9]{3}-[0-9]+/ID/g; s/[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}/TIME/g'; }
  $ roundtrip() { # ARGS: the run's status and files, the undo's status and last line, the tree
  >   state >s0; orvx "$@" >run.out 2>&1; local st=$?; local n; n=$(orvx history | head -n 1 | grep -o '[0-9]* files\?')
  >   orvx undo -f >undo.out 2>&1; local us=$?
  >   echo "$*: [$st] $n, undo [$us] $(tail -n 1 undo.out), $(state | cmp -s s0 - && echo 'tree as before' || echo 'TREE DIFFERS')" | orv_paths | ids
  > }

Each subcommand, undone.

  $ fixture; roundtrip join hostA -f; roundtrip join hostB -f; roundtrip addresourceattr '[resource scvg]'
  join hostA -f: [0] 3 files, undo [0] Run ID is undone., tree as before
  join hostB -f: [0] 1 file, undo [0] Run ID is undone., tree as before
  addresourceattr [resource scvg]: [0] 1 file, undo [0] Run ID is undone., tree as before
  $ for n in namenode secondarynode datanode; do printf '<Service>\n    <Environment name="HOV_HDFS_PORT">9000</Environment>\n</Service>\n' >"$TOP/oservice/osc/conf/services/$n.xml"; done
  $ export B; B=$(orv_free_base 12); roundtrip setbaseport $B | rel; B=$(orv_free_base 1); roundtrip hovhdfsport set $B | rel
  setbaseport B: [0] 1 file, undo [0] Run ID is undone., tree as before
  hovhdfsport set B: [0] 3 files, undo [0] Run ID is undone., tree as before
  $ fixture master; mg_add_kirn; mg_add_vos; chmod 640 "$TOP/kirn/conf/deploy/cluster.xml"; roundtrip mghost "$SHARE" -f
  mghost $T/share -f: [0] 15 files, undo [0] Run ID is undone., tree as before
  $ orvx mghost "$SHARE" -f >/dev/null; mg_setup_candidate hostB; roundtrip mghost "$SHARE" -f
  mghost $T/share -f: [0] 4 files, undo [0] Run ID is undone., tree as before
  $ fixture master; mg_share_master; mg_add_vos; roundtrip mghost vos -f; mg_add_kirn; roundtrip mghost kirn -f
  mghost vos -f: [0] 3 files, undo [0] Run ID is undone., tree as before
  mghost kirn -f: [0] 3 files, undo [0] Run ID is undone., tree as before
  $ fixture demote; roundtrip masterlist hostA,hostC; roundtrip unsetmghost -f
  masterlist hostA,hostC: [0] 1 file, undo [0] Run ID is undone., tree as before
  unsetmghost -f: [0] 5 files, undo [0] Run ID is undone., tree as before

An undo names what it gives back; the undo of an undo redoes; a file changed since refuses
with nothing written; a damaged record is refused.

  $ fixture master; mg_add_kirn; orvx mghost "$SHARE" -f >/dev/null; state >s1; orvx undo -f | ids | orv_paths | grep -v '^Removed \$T/share/kernel'
  Restored $T/top/kernel/conf/profile.orv.
  Restored $T/top/kernel/conf/cshrc.orv.
  Restored $T/top/kernel/conf/orv.conf.
  Removed $T/share/kirn/conf/deploy/cluster.xml.
  Removed $T/share/kirn/conf/profile.kirn.
  Restored $T/top/kirn/conf/profile.kirn.
  Removed the directory $T/share/kirn/conf/deploy.
  Removed the directory $T/share/kirn/conf.
  Removed the directory $T/share/kirn.
  Removed the directory $T/share/kernel/conf/services/profiles.
  Removed the directory $T/share/kernel/conf/services.
  Removed the directory $T/share/kernel/conf.
  Removed the directory $T/share/kernel.
  Run ID is undone.
  $ orvx undo "$(orvx history | head -n 1 | cut -d' ' -f1)" -f >/dev/null; state | cmp - s1 && orvx history | ids | orv_paths
  ID  TIME  orvadmin  exit 0  12 files  orvconfig undo ID -f  (undo of ID)
  ID  TIME  orvadmin  exit 0  12 files  orvconfig undo -f  (undone by ID)  (undo of ID)
  ID  TIME  orvadmin  exit 0  12 files  orvconfig mghost $T/share -f  (undone by ID)
  $ echo '# by hand' >>"$TOP/kernel/conf/profile.orv"; rm "$SHARE/kirn/conf/profile.kirn"; state >s2; ANSWERS=y orvx undo | ids | orv_paths; state | cmp - s2
  $T/top/kernel/conf/profile.orv was changed after run ID.
  $T/share/kirn/conf/profile.kirn was changed after run ID.
  Command failed.
  $ fixture; orvx join hostA -f; state >s1; f=$(ls "$T.state"/journal/*/1.*); sed -i 's/^c 0 /c 1 /' $f; orvx undo -f | ids | orv_paths; state | cmp - s1
  A new cluster <cluster1> has been created. The host <hostA> is the master host.
  The journal's record of $T/top/kernel/conf/orv.conf in run ID is damaged.
  Command failed.

history: the changing runs only (not a no-op, a refusal, an answer n, a dry run); one run as
a diff; the usage lines; a question answered no; --dry-run undo shows what it would write.

  $ fixture; ANSWERS=n orvx join hostB; orvx join hostA -f; orvx join hostA -f; orvx masterlist ghost; orvx --dry-run setbaseport "$(orv_free_base 12)" >/dev/null
  You are about to join this host to a cluster with master host hostB.  Do you want to continue? [y/n]No change
  A new cluster <cluster1> has been created. The host <hostA> is the master host.
  No changes.  This host already belongs to a cluster with master host hostA.
  [ghost] is not a valid host name.
  Command failed.
  $ orvx history | ids; orvx history "$(orvx history | cut -d' ' -f1)" | ids | orv_paths | head -n 17
  ID  TIME  orvadmin  exit 0  3 files  orvconfig join hostA -f
  Run: ID
  Started: TIME
  Host: hostA
  User: orvadmin
  Command: orvconfig join hostA -f
  Status: exit 0
  --- $T/top/kernel/conf/orv.conf
  +++ $T/top/kernel/conf/orv.conf
  @@ -1,7 +1,6 @@
   # ORV kernel configuration
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostA"
   ORV_LIM_PORT=7869
   ORV_KD_PORT=7870
   ORV_PEM_PORT=7871
  -ORV_GET_CONF=lim
   ORV_WORKDIR=/opt/orv/kernel/work
  $ state >s1; orvx --dry-run undo | ids | orv_paths | sed -n '1,3p;$p'; state | cmp - s1; ANSWERS=n orvx undo | ids; orvx history | wc -l
  Restored $T/top/kernel/conf/orv.conf.
  Restored $T/top/kernel/conf/orv.cluster.cluster1.
  Restored $T/top/kernel/conf/ResourceGroups.xml.
  Dry run: nothing was changed.
  The files of run ID (orvconfig join hostA -f) will be given back as they were before it. Do you want to continue? [y/n]Nothing was undone.
  1
  $ for a in 'undo a b' 'undo -x' 'history a b' 'history -h' 'history nosuchrun' 'undo nosuchrun -f'; do orvx $a >out; st=$?; echo "$a: $(tr '\n' '|' <out) [$st]"; done
  undo a b: |Usage: orvconfig undo [run_id] [-f]| [255]
  undo -x: |Usage: orvconfig undo [run_id] [-f]| [255]
  history a b: |Usage: orvconfig history [run_id]| [255]
  history -h: |Usage: orvconfig history [run_id]| [255]
  history nosuchrun: There is no run nosuchrun in the journal.|Command failed.| [255]
  undo nosuchrun -f: There is no run nosuchrun in the journal.|Command failed.| [255]
  $ sed -i 's/^Administrators = .*/Administrators = root/' "$CONF/orv.cluster.cluster1"; orvx undo -f
  You must be cluster administrator [root] to use orvconfig.
  Command failed.
  [255]

The journal: owner-only, pruned to ORVCONFIG_JOURNAL_KEEP runs, off with ORVCONFIG_JOURNAL=off,
the changed lines of a large file only;
one that cannot be written leaves the run as it was, with one line on standard error.

  $ with() { local -a envs; mapfile -t envs < <(orv_env); env -i PATH="$PATH" "${envs[@]}" "$@"; }
  $ fixture; for p in $$ 999999999; do (umask 077; mkdir -p "$T.state/journal/20000101-000000.000-$p"); done
  $ for t in a b c; do with ORVCONFIG_JOURNAL_KEEP=2 "$ORVCONFIG" addresourceattr "[resource $t]" >/dev/null; done; ls "$T.state/journal" | sed "s/.*-$$\$/(a run still writing)/; s/^2026.*/ID/"
  (a run still writing)
  ID
  ID
  $ rmdir "$T.state/journal/20000101-000000.000-$$"
  $ stat -c '%a' "$T.state" "$T.state/journal" "$T.state"/journal/* "$T.state"/journal/*/* | sort | uniq -c | sed 's/^ *//'
  4 600
  4 700
  $ with ORVCONFIG_JOURNAL=off "$ORVCONFIG" addresourceattr '[resource a]'; with ORVCONFIG_JOURNAL=off "$ORVCONFIG" history; ls "$T.state/journal" | wc -l
  You have not input any hosts in the master list. Specify the name of the master host and any master candidates.
  Add resource tag successfully.
  The journal is turned off.
  Command failed.
  2
  $ fixture; seq -f 'ORV_SITE_PARAM_%g=1' 100000 >>"$CONF/orv.conf"; orvx addresourceattr '[resource big]' >/dev/null; orvx undo -f >/dev/null; du -sb "$T.state/journal" | awk '{ print $1 < 16384 ? "the changed lines only" : "too large: " $1 }'
  the changed lines only
  $ touch file; with ORVCONFIG_STATE_DIR=$PWD/file "$ORVCONFIG" addresourceattr '[resource d]' 2>err; sed "s|$PWD|PWD|" err
  You have not input any hosts in the master list. Specify the name of the master host and any master candidates.
  Add resource tag successfully.
  orvconfig: this run cannot be undone: cannot write the journal PWD/file/journal: Not a directory
