check across a fleet: 16 simulated hosts (h01..h16, compute hosts with their own local
configuration) through ClusterShell's local exec worker. A healthy fleet prints one output,
so clush -b folds it into one group; a drifted host stands out as a group of its own.

  $ . "$TESTDIR/helpers.bash"; command -v clush >/dev/null || skip "clush is not installed"
  $ fixture master; for n in $(seq -w 1 16); do echo "10.0.1.$((10#$n)) h$n.lab.local h$n" >>"$T/nss/hosts"; mg_setup_candidate "h$n"; done
  $ mapfile -t envs < <(orv_env | grep -v '^NSS_WRAPPER_HOSTNAME=\|^ORV_'); snap() { find "$T" -printf '%p %s %T@\n' | sort; }
  $ { echo '#!/bin/bash'; echo 'h=$1; shift'; printf 'exec env -i PATH=%q' "$PATH"; printf ' %q' "${envs[@]}"
  >   printf ' NSS_WRAPPER_HOSTNAME=$h ORV_TOP=%q/top-$h ORV_CONFDIR=%q/top-$h/kernel/conf ORV_LOCAL_CONFDIR=%q/top-$h/kernel/conf %q "$@"\n' "$T" "$T" "$T" "$ORVCONFIG"; } >as; chmod +x as
  $ fleet() { clush -R exec -f 16 -b -w 'h[01-16]' "$PWD/as %h $*" </dev/null 2>&1 | orv_paths; }
  $ snap >before; fleet check; snap | cmp - before
  ---------------
  h[01-16] (16)
  ---------------
  check: 0 errors, 0 warnings (compute host of cluster cluster1)
  $ sed -i 's/^ORV_KD_PORT=.*/ORV_KD_PORT=7871/' "$T/top-h07/kernel/conf/orv.conf"; snap >before; fleet check; snap | cmp - before
  ---------------
  h[01-06,08-16] (15)
  ---------------
  check: 0 errors, 0 warnings (compute host of cluster cluster1)
  ---------------
  h07
  ---------------
  $T/top-h07/kernel/conf/orv.conf:4: error: ORV_KD_PORT is 7871, expected 7870 (base port 7869 + 1)
  check: 1 error, 0 warnings (compute host of cluster cluster1)
  clush: h07: exited with exit code 1
