Many hosts at once through ClusterShell's local exec worker: h01..h16 (own identity and local
configuration, one shared top), c01..c08 runs on hostD. Nothing lost, torn or falsely reported.

  $ . "$TESTDIR/helpers.bash"; command -v clush >/dev/null || skip "clush is not installed"
  $ fixture master; for n in $(seq -w 1 16); do
  >   echo "10.0.1.$((10#$n)) h$n.lab.local h$n" >>"$T/nss/hosts"; mg_setup_candidate "h$n"; done; mg_setup_candidate hostD
  $ ORV_HOSTNAME=hostA; unset ORV_TOP_DIR ORV_CONFDIR_DIR ORV_LOCAL_CONFDIR_DIR; orvx mghost "$SHARE" -f >/dev/null
  $ SCONF=$SHARE/kernel/conf; cp "$SCONF/orv.cluster.cluster1" master-only
  $ mapfile -t envs < <(orv_env | grep -v '^NSS_WRAPPER_HOSTNAME=\|^ORV_'); mkdir runs
  $ { echo '#!/bin/bash'; echo 'n=$1 c=$2 h=$1; shift 2; [[ $n == c* ]] && h=hostD'
  >   printf 'env -i PATH=%q' "$PATH"; printf ' %q' "${envs[@]}"
  >   printf ' ORVCONFIG_LOCK_WAIT=${ORVCONFIG_LOCK_WAIT:-60} NSS_WRAPPER_HOSTNAME=$h ORV_TOP=%q/top-$h ORV_CONFDIR=$c' "$T"
  >   printf ' ORV_LOCAL_CONFDIR=%q/top-$h/kernel/conf %q "$@" </dev/null >%q/runs/$n 2>&1\necho "[$?]" >>%q/runs/$n\n' \
  >     "$T" "$ORVCONFIG" "$PWD" "$PWD"; } >as; chmod +x as
  $ fleet() { local nodes=$1 conf=$2; shift 2; clush -R exec -f 64 -w "$nodes" "$PWD/as %h $conf $*" </dev/null; }
  $ runs() { cat "$@" | sed -e "s|$T|\$T|g" -e 's/-h[0-9][0-9]/-hNN/g' | sort | uniq -c; rm -f "$@"; }
  $ hostlines() { sed -n "8,$((7 + $1))p" "$SCONF/orv.cluster.cluster1" | tee lines | sed 's/^h[0-9]*/hNN/' | uniq -c; cut -c1-3 lines | sort | paste -sd' '; }

16 hosts promote themselves at once, 5 rounds: each reports it, each line is there once, whole.

  $ for round in 1 2 3 4 5; do cp master-only "$SCONF/orv.cluster.cluster1"; fleet 'h[01-16]' "$T/top-%h/kernel/conf" mghost "$SHARE" -f
  >   { runs runs/h*; hostlines 16; sed '8,23d' "$SCONF/orv.cluster.cluster1" | cmp - master-only; find "$T" -name '*.tmp'; } >>rounds; done; sort rounds | uniq -c
        5      16 The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top-hNN/cshrc.tolvane or $T/top-hNN/profile.tolvane again.
        5      16 [0]
        5      16 hNN       !        !            1     -    -    -   (linux mg)
        5 h01 h02 h03 h04 h05 h06 h07 h08 h09 h10 h11 h12 h13 h14 h15 h16

Half the hosts leave while the others rewrite the master list and 8 runs tag hostD.

  $ ORV_CONFDIR_DIR=$SCONF orvx masterlist "hostA,$(nodeset -e -S, 'h[01-16]')" >/dev/null; kept=h09,h10,h11,h12,h13,h14,h15,h16
  $ for n in 1 2 3 4 5 6 7 8; do fleet "h0$n" "$SCONF" unsetmghost -f & fleet "h$((n + 8))" "$SCONF" masterlist "hostA,$kept" & fleet "c0$n" "$T/top-hostD/kernel/conf" addresourceattr "'[resource t$n]'" & done; wait
  $ runs runs/h0[1-8]; runs runs/h*; runs runs/c*; hostlines 8; grep ORV_MASTER_LIST "$SCONF/orv.conf"
        8 The host will use configuration files on a local directory. You must reset your environment before you can run any more ORV commands. Source the environment $T/top-hNN/cshrc.tolvane or $T/top-hNN/profile.tolvane again.
        8 This host no longer uses the shared configuration directory.  This host cannot be used as a master candidate.
        8 [0]
        8 The master host failover order is hostA,h09,h10,h11,h12,h13,h14,h15,h16. To make changes take effect, restart ORV on the master host with the command orvsh orv restart.
        8 [0]
        8 Add resource tag successfully.
        8 [0]
        8 hNN       !        !            1     -    -    -   (linux mg)
  h09 h10 h11 h12 h13 h14 h15 h16
  ORV_MASTER_LIST="hostA h09 h10 h11 h12 h13 h14 h15 h16"
  $ grep ORV_LOCAL_RESOURCES "$T/top-hostD/kernel/conf/orv.conf" | grep -o 't[0-9]' | sort | paste -sd' '; find "$T" -name '*.tmp'
  t1 t2 t3 t4 t5 t6 t7 t8

A lock held past the wait fails the run with the file named, and nothing more is written.

  $ cp "$SCONF/orv.cluster.cluster1" before; python3 -c 'import fcntl, sys, time
  > f = open(sys.argv[1], "r+"); fcntl.lockf(f, fcntl.LOCK_EX); open("held", "w").close(); time.sleep(30)' "$SCONF/orv.cluster.cluster1" 3>&- & holder=$!
  $ until [ -e held ]; do sleep 0.05; done; ORVCONFIG_LOCK_WAIT=0.3 fleet h01 "$T/top-%h/kernel/conf" mghost "$SHARE" -f; kill $holder
  $ runs runs/h01; cmp before "$SCONF/orv.cluster.cluster1"; find "$T" -name '*.tmp'
        1 Timed out waiting for another run to release file $T/share/kernel/conf/orv.cluster.cluster1.
        1 [255]
