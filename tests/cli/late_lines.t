Host names are looked up before the cluster file is locked. A line that another run writes
meanwhile is looked up once the lock is released; should it name this run's host, the file
ends as a run coming after that other run leaves it. Each case lets the other run's file
land during one lookup (the shim renames it into place) and compares the result with the
run made on that file from the start.

  $ . "$TESTDIR/helpers.bash"; cc -shared -fPIC -o latency.so "$TESTDIR/lookup_latency_shim.c" -ldl || exit 80
  $ line='!        !            1     -    -    -   '
  $ late() { local on=$1 theirs=$2; shift 2; local -a envs; mapfile -t envs < <(LD_PRELOAD_SHIM=$PWD/latency.so orv_env)
  >   cp "$theirs" landing; env -i PATH="$PATH" "${envs[@]}" ORV_LOOKUP_SWAP_ON="$on" ORV_LOOKUP_SWAP_FROM="$PWD/landing" \
  >     ORV_LOOKUP_SWAP_TO="$SCONF/orv.cluster.cluster1" "$ORVCONFIG" "$@" </dev/null | orv_paths; }
  $ serial() { rm -rf orig && cp -a "$T" orig && cp "$1" "$SCONF/orv.cluster.cluster1"; shift; orvx "$@" >serial.out
  >   cp "$SCONF/orv.cluster.cluster1" serial.cluster; rm -rf "$T" && cp -a orig "$T"; }
  $ same() { cmp serial.cluster "$SCONF/orv.cluster.cluster1" && orv_paths <serial.out | diff - late.out && sed -n '/^HOSTNAME/,$p' serial.cluster; }

Promotion of hostD while a line for hostD.lab.local lands (during the lookup of hostB): that
line is marked, no second line is added.

  $ fixture master; mg_share_master; mg_setup_candidate hostD; sed -i "/^End Host/i hostB     $line(linux mg)" "$SCONF/orv.cluster.cluster1"
  $ sed "/^End Host/i hostD.lab.local $line(linux)" "$SCONF/orv.cluster.cluster1" >theirs; serial theirs mghost "$SHARE" -f
  $ late hostB theirs mghost "$SHARE" -f >late.out; same
  HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
  hostA     !        !            1     -    -    -   (mg linux)
  hostB     !        !            1     -    -    -   (linux mg)
  hostD.lab.local !        !            1     -    -    -   (mg linux)
  End Host

The same with a line for another host landing: both lines are there.

  $ fixture master; mg_share_master; mg_setup_candidate hostD; sed -i "/^End Host/i hostB     $line(linux mg)" "$SCONF/orv.cluster.cluster1"
  $ sed "/^End Host/i hostC     $line(linux mg)" "$SCONF/orv.cluster.cluster1" >theirs; serial theirs mghost "$SHARE" -f
  $ late hostB theirs mghost "$SHARE" -f >late.out; same
  HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
  hostA     !        !            1     -    -    -   (mg linux)
  hostB     !        !            1     -    -    -   (linux mg)
  hostC     !        !            1     -    -    -   (linux mg)
  hostD     !        !            1     -    -    -   (linux mg)
  End Host

Demotion of hostB while a line for hostB.lab.local lands (during the lookup of hostC): that
line goes too.

  $ fixture demote; sed "/^End Host/i hostB.lab.local $line(linux mg)" "$SCONF/orv.cluster.cluster1" >theirs; serial theirs unsetmghost -f
  $ late hostC theirs unsetmghost -f >late.out; same
  HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords
  hostA     !        !            1     -    -    -   (mg linux)
  hostC     !        !            1     -    -    -   (linux mg)
  End Host
