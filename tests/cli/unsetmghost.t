unsetmghost on hostB, a candidate promoted after the master hostA (fixture demote).

  $ . "$TESTDIR/helpers.bash"; set -o pipefail
  $ list() { sed -i "s|^ORV_MASTER_LIST=.*|ORV_MASTER_LIST=\"$*\"|" "$SCONF/orv.conf" "$CCONF/orv.conf"; }
  $ lists() { perl -ne 'push @r, $1 if /^-(\S+) .*\(linux mg\)$/; push @l, "[$1]" if /^\+ORV_MASTER_LIST=(.*)/; END { print "removed @r; lists @l\n" }'; }
  $ fixture demote; orv unsetmghost -f | tee demoted | names; grep '^-[^-].*(linux mg)$\|^+[^+]' demoted
  The host will use configuration files on a local directory. You must reset your environment before you can run any more ORV commands. Source the environment $T/top-hostB/cshrc.tolvane or $T/top-hostB/profile.tolvane again.
  This host no longer uses the shared configuration directory.  This host cannot be used as a master candidate.
  +++ share/kernel/conf/orv.cluster.cluster1 share/kernel/conf/orv.conf top-hostB/kernel/conf/cshrc.orv top-hostB/kernel/conf/orv.conf top-hostB/kernel/conf/profile.orv
  -hostB     !        !            1     -    -    -   (linux mg)
  +ORV_MASTER_LIST="hostA"
  +setenv ORV_CONFDIR $ORV_TOP/kernel/conf
  +setenv ORV_OSRVDIR $ORV_TOP/oservice
  +ORV_MASTER_LIST="hostA"
  +ORV_WORKDIR=$T/top-hostB/kernel/work
  +ORV_CONFDIR=$ORV_TOP/kernel/conf
  +ORV_OSRVDIR=$ORV_TOP/oservice
  $ fixture demote; each unsetmghost ''; ANSWERS="x Y y" orv unsetmghost | tee asked | sed '1s/^.*\[y\/n\]//' | cmp - demoted && grep -o '\[y/n\]' asked | wc -l
  unsetmghost : The host will use configuration files on a local directory, instead of a shared directory.  Do you want to continue? [y/n]No changes. This host uses a shared configuration directory. [0]
  3

Not the master; the rebuilt list: the last candidate, a host outside it, qualified names.

  $ fixture demote; ORV_HOSTNAME=hostA ORV_LOCAL_CONFDIR_DIR=$CONF ORV_TOP_DIR=$TOP each unsetmghost -f
  unsetmghost -f: You cannot run this command on the master host. | Command failed. [255]
  $ fixture demote; ORV_HOSTNAME=hostC orv unsetmghost -f | lists
  removed hostC; lists ["hostA hostB"] ["hostA hostB"]
  $ fixture demote; ORV_HOSTNAME=hostD; sed -i "/^End Host/i hostD.lab.local ! ! 1 - - - (linux mg)" "$SCONF/orv.cluster.cluster1"; orv unsetmghost -f | lists
  removed hostD.lab.local; lists 
  $ fixture demote; list hostA.lab.local hostC.lab.local hostB.lab.local hostD; orv unsetmghost -f | lists
  removed hostB; lists ["hostA.lab.local hostC.lab.local"] ["hostA.lab.local hostC.lab.local"]

More than 127 candidates wrap the 8-bit step counter (fillers are addresses: no lookups).

  $ fillers() { for i in $(seq 1 "$1"); do echo "10.9.$((i / 250)).$((i % 250 + 1))"; done; }
  $ fixture demote; list hostA hostB $(fillers 128); orv unsetmghost -f | lists
  removed hostB; lists [] []
  $ fixture demote; ORV_HOSTNAME=hostD; list hostA $(fillers 256); orv unsetmghost -f | lists
  removed ; lists ["hostA"] ["hostA"]
  $ fixture demote; ORV_HOSTNAME=hostD; list hostA hostB $(fillers 125); orv unsetmghost -f | lists
  removed ; lists 

Performance scripts and this cluster's batch product point back locally; another's is left.

  $ fixture demote; mkdir -p "$CTOP/perf/conf"; printf 'setenv PERF_CONFDIR %s/perf/conf\n' "$SHARE" >"$CTOP/perf/conf/cshrc.perf"
  $ printf 'PERF_CONFDIR=%s/perf/conf\n' "$SHARE" >"$CTOP/perf/conf/profile.perf"; orv unsetmghost -f | grep '^+.*PERF_CONFDIR'
  +setenv PERF_CONFDIR $T/top-hostB/perf/conf
  +PERF_CONFDIR=$T/top-hostB/perf/conf
  $ vos() { fixture demote; mg_add_vos "$CTOP"; VOS_ENVDIR_DIR=$CTOP/vos/conf; sed -i "s|^VOS_ORV_ENVDIR=.*|VOS_ORV_ENVDIR=$1|" "$CTOP/vos/conf/vos.conf"; sed -i "s|\$VOS_TOP|$SHARE/vos|" "$CTOP/vos/conf/"*.vos; }
  $ vos "$SCONF"; orv unsetmghost -f | grep '^+.*VOS_ENVDIR'; vos "$T"; orv unsetmghost -f | grep '^+.*VOS_ENVDIR' || echo "another cluster's: left alone"
  +setenv VOS_ENVDIR $VOS_TOP/conf
  +VOS_ENVDIR=$VOS_TOP/conf
  another cluster's: left alone

A failed edit stops the demotion with its report key; nothing is rolled back.

  $ vos "$SCONF"; rm "$CTOP/vos/conf/profile.vos"; mkdir "$CTOP/vos/conf/profile.vos"; each unsetmghost -f | names
  unsetmghost -f: Cannot open file $T/top-hostB/vos/conf/profile.vos. | Set ORV_CONFDIR in profile.vos failed. | Command failed. [255]
  +++ share/kernel/conf/orv.cluster.cluster1 share/kernel/conf/orv.conf top-hostB/kernel/conf/cshrc.orv top-hostB/kernel/conf/profile.orv top-hostB/vos/conf/cshrc.vos
  $ fixture demote; rm "$CCONF/orv.conf"; mkdir "$CCONF/orv.conf"; each unsetmghost -f | names
  unsetmghost -f: Cannot open file $T/top-hostB/kernel/conf/orv.conf. | Set ORV_OSRVDIR in orv.conf failed. | Command failed. [255]
  +++ share/kernel/conf/orv.cluster.cluster1 share/kernel/conf/orv.conf top-hostB/kernel/conf/cshrc.orv top-hostB/kernel/conf/profile.orv
  $ fixture demote; rm "$CCONF/cshrc.orv"; each unsetmghost -f | names
  unsetmghost -f: Cannot open file $T/top-hostB/kernel/conf/cshrc.orv. | Set ORV_CONFDIR in cshrc.orv failed. | Command failed. [255]
  +++ share/kernel/conf/orv.cluster.cluster1 share/kernel/conf/orv.conf
