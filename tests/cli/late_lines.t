Host names are looked up before a file is locked. A host line (or master list) that another
run writes meanwhile is looked up once the lock is released, or the lock is let go while
it is; the file ends as a run coming after that other run leaves it. Each case lets the
other run's file land during one lookup (the shim renames it into place) and compares the
result with the run made on that file from the start.

  $ . "$TESTDIR/helpers.bash"; cc -shared -fPIC -o latency.so "$TESTDIR/lookup_latency_shim.c" -ldl || exit 80
  $ line='!        !            1     -    -    -   '
  $ late() { local on=$1 theirs=$2 file=$3; shift 3; local -a envs; mapfile -t envs < <(LD_PRELOAD_SHIM=$PWD/latency.so orv_env)
  >   cp "$theirs" landing; env -i PATH="$PATH" "${envs[@]}" ORV_LOOKUP_SWAP_ON="$on" ORV_LOOKUP_SWAP_FROM="$PWD/landing" \
  >     ORV_LOOKUP_SWAP_TO="$file" "$ORVCONFIG" "$@" </dev/null | orv_paths >late.out; }
  $ serial() { local theirs=$1 file=$2; shift 2; rm -rf orig && cp -a "$T" orig && cp "$theirs" "$file"; orvx "$@" >serial.out
  >   cp "$file" serial.file; rm -rf "$T" && cp -a orig "$T"; }
  $ same() { cmp serial.file "$1" && orv_paths <serial.out | diff - late.out && cat late.out && sed -n '/^HOSTNAME/,$p;/^ORV_MASTER_LIST/p' "$1"; }

Promotion of hostD while a line for hostD.lab.local lands (during the lookup of hostB): that
line is marked, no second line is added.

  $ fixture master; mg_share_master; mg_setup_candidate hostD; sed -i "/^End Host/i hostB     $line(linux mg)" "$SCONF/orv.cluster.cluster1"
  $ sed "/^End Host/i hostD.lab.local $line(linux)" "$SCONF/orv.cluster.cluster1" >theirs; serial theirs "$SCONF/orv.cluster.cluster1" mghost "$SHARE" -f
  $ late hostB theirs "$SCONF/orv.cluster.cluster1" mghost "$SHARE" -f; same "$SCONF/orv.cluster.cluster1"
  The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top-hostD/cshrc.tolvane or $T/top-hostD/profile.tolvane again.
  HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
  hostA     !        !            1     -    -    -   (mg linux)
  hostB     !        !            1     -    -    -   (linux mg)
  hostD.lab.local !        !            1     -    -    -   (mg linux)
  End Host

The same with a line for another host landing: both lines are there.

  $ fixture master; mg_share_master; mg_setup_candidate hostD; sed -i "/^End Host/i hostB     $line(linux mg)" "$SCONF/orv.cluster.cluster1"
  $ sed "/^End Host/i hostC     $line(linux mg)" "$SCONF/orv.cluster.cluster1" >theirs; serial theirs "$SCONF/orv.cluster.cluster1" mghost "$SHARE" -f
  $ late hostB theirs "$SCONF/orv.cluster.cluster1" mghost "$SHARE" -f; same "$SCONF/orv.cluster.cluster1"
  The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top-hostD/cshrc.tolvane or $T/top-hostD/profile.tolvane again.
  HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
  hostA     !        !            1     -    -    -   (mg linux)
  hostB     !        !            1     -    -    -   (linux mg)
  hostC     !        !            1     -    -    -   (linux mg)
  hostD     !        !            1     -    -    -   (linux mg)
  End Host

Demotion of hostB while a line for hostB.lab.local lands (during the lookup of hostC): that
line goes too.

  $ fixture demote; sed "/^End Host/i hostB.lab.local $line(linux mg)" "$SCONF/orv.cluster.cluster1" >theirs; serial theirs "$SCONF/orv.cluster.cluster1" unsetmghost -f
  $ late hostC theirs "$SCONF/orv.cluster.cluster1" unsetmghost -f; same "$SCONF/orv.cluster.cluster1"
  The host will use configuration files on a local directory. You must reset your environment before you can run any more ORV commands. Source the environment $T/top-hostB/cshrc.tolvane or $T/top-hostB/profile.tolvane again.
  This host no longer uses the shared configuration directory.  This host cannot be used as a master candidate.
  HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
  hostA     !        !            1     -    -    -   (mg linux)
  hostC     !        !            1     -    -    -   (linux mg)
  End Host

Demotion of hostB while the shared list hostA hostB.lab.local hostC lands (during the lookup
of hostC, before the list is rewritten): hostB leaves it under that name too.

  $ fixture demote; sed 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostA hostB.lab.local hostC"/' "$SCONF/orv.conf" >theirs; serial theirs "$SCONF/orv.conf" unsetmghost -f
  $ late hostC theirs "$SCONF/orv.conf" unsetmghost -f; same "$SCONF/orv.conf"
  The host will use configuration files on a local directory. You must reset your environment before you can run any more ORV commands. Source the environment $T/top-hostB/cshrc.tolvane or $T/top-hostB/profile.tolvane again.
  This host no longer uses the shared configuration directory.  This host cannot be used as a master candidate.
  ORV_MASTER_LIST="hostA"

masterlist hostB,hostA while the list hostA hostC.lab.local lands in orv.conf (during the
lookup of hostD, after hostB was found a candidate in the list it read first): the list is
checked again as it now stands, and refused.

  $ fixture; sed -i 's/@ORV_MASTER_LIST@/hostA hostD hostB/' "$CONF/orv.conf"; sed -i "/^HOSTNAME/a hostA     $line(linux mg)\nhostB     $line(linux mg)" "$CONF/orv.cluster.cluster1"
  $ sed 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostA hostC.lab.local"/' "$CONF/orv.conf" >theirs; serial theirs "$CONF/orv.conf" masterlist hostB,hostA
  $ late hostD theirs "$CONF/orv.conf" masterlist hostB,hostA; same "$CONF/orv.conf"
  Only existing master candidates can be used as master host (first host in the list). To introduce a new host as master host, append the host name to the list of candidates without changing the existing master host, restart ORV on the master host, then change the order of the list to make the new host as the master host.
  Command failed.
  ORV_MASTER_LIST="hostA hostC.lab.local"
