join: a new cluster (orv.conf, cluster file, resource group), joining an existing one,
the no-change outcomes, and refusals that change nothing.

  $ . "$TESTDIR/helpers.bash"
  $ fixture; orv join hostA -f
  A new cluster <cluster1> has been created. The host <hostA> is the master host.
  +++ top/kernel/conf/ResourceGroups.xml
  @@ -5 +5 @@
  -@ORV_MASTER@
  +            <ResourceEntry ResourceID="hostA"/>
  +++ top/kernel/conf/orv.cluster.cluster1
  @@ -6,0 +7 @@
  +hostA     !        !            1     -    -    -   (linux)
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostA"
  @@ -6 +5,0 @@
  -ORV_GET_CONF=lim
  $ fixture; ANSWERS="Y other yes" orv join hostA
  You are about to create a new cluster with this host as the master host.  Do you want to continue? [y/n]You are about to create a new cluster with this host as the master host.  Do you want to continue? [y/n]You are about to create a new cluster with this host as the master host.  Do you want to continue? [y/n]A new cluster <cluster1> has been created. The host <hostA> is the master host.
  +++ top/kernel/conf/ResourceGroups.xml
  @@ -5 +5 @@
  -@ORV_MASTER@
  +            <ResourceEntry ResourceID="hostA"/>
  +++ top/kernel/conf/orv.cluster.cluster1
  @@ -6,0 +7 @@
  +hostA     !        !            1     -    -    -   (linux)
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostA"
  @@ -6 +5,0 @@
  -ORV_GET_CONF=lim
  $ fixture; ORV_HOSTNAME=hostA.lab.local; sed -i '/^HOSTNAME/a hostA  ! ! 1 - - - (linux old)' "$CONF/orv.cluster.cluster1"
  $ orv join hostA -f
  A new cluster <cluster1> has been created. The host <hostA> is the master host.
  +++ top/kernel/conf/ResourceGroups.xml
  @@ -5 +5 @@
  -@ORV_MASTER@
  +            <ResourceEntry ResourceID="hostA"/>
  +++ top/kernel/conf/orv.cluster.cluster1
  @@ -7 +7 @@
  -hostA  ! ! 1 - - - (linux old)
  +hostA     !        !            1     -    -    -   (linux)
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostA"
  @@ -6 +5,0 @@
  -ORV_GET_CONF=lim
  $ fixture; each join hostB hostC; ANSWERS=n each join hostA
  hostB: You are about to join this host to a cluster with master host hostB.  Do you want to continue? [y/n]No change [0]
  hostC: You are about to join this host to a cluster with master host hostC.  Do you want to continue? [y/n]No change [0]
  hostA: You are about to create a new cluster with this host as the master host.  Do you want to continue? [y/n]No change [0]
  $ fixture; orv join ' hostB	' -f
  The host hostA has joined the cluster cluster1.
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostB"
  $ fixture; ORV_HOSTNAME=hostC.lab.local; ANSWERS=y orv join hostB.lab.local
  You are about to join this host to a cluster with master host hostB.lab.local.  Do you want to continue? [y/n]The host hostC.lab.local has joined the cluster cluster1.
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostB.lab.local"
  $ fixture; printf '#ORV_MASTER_LIST="old"\n  ORV_MASTER_LIST="@ORV_MASTER_LIST@"\n' >"$CONF/orv.conf"; orv join hostB -f
  The host hostA has joined the cluster cluster1.
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -  ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostB"

A host in a cluster may name a master of its own list again (no change), no other.

  $ sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB hostC"/' "$CONF/orv.conf"
  $ each join hostC.lab.local 'hostD -f'
  hostC.lab.local: No changes.  This host already belongs to a cluster with master host hostB. [0]
  hostD -f: This host belongs to the cluster cluster1.  It cannot join a different cluster. | Command failed. [255]

Refusals of the argument, of the caller, of the configuration.

  $ fixture; for a in 10.1.2.3 ' 10.0.0.2 ' '' '   ' 'host B' ghost 10.0.0; do orv_run join "$a" -f; s=$?; echo "'$a': $(tr '\n' ' ' <orv.out)[$s]"; cat orv.diff; done
  '10.1.2.3': IP address is not supported. Specify a valid host name. Command failed. [255]
  ' 10.0.0.2 ': IP address is not supported. Specify a valid host name. Command failed. [255]
  '': You have not input any master host. Specify the name of the master host. Command failed. [255]
  '   ': You have not input any master host. Specify the name of the master host. Command failed. [255]
  'host B': [host B] is not a valid host name. Command failed. [255]
  'ghost': [ghost] is not a valid host name. Command failed. [255]
  '10.0.0': [10.0.0] is not a valid host name. Command failed. [255]
  $ ORV_UNSET=ORV_CONFDIR each join 10.1.2.3 hostA
  10.1.2.3: IP address is not supported. Specify a valid host name. | Command failed. [255]
  hostA: The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Command failed. [255]
  $ sed -i 's/^Administrators = .*/Administrators = root,orvadmin/' "$CONF/orv.cluster.cluster1"; each join 'hostA -f' "'' -f"
  hostA -f: You must be cluster administrator [root] to use orvconfig. | Command failed. [255]
  '' -f: You must be cluster administrator [root] to use orvconfig. | Command failed. [255]
  $ fixture; echo 'ORV_LOCAL_RESOURCES="[resourcemap 1*x] [resource svrscvg]"' >>"$CONF/orv.conf"; each join 'hostA -f' 'hostB -f'
  hostA -f: You are trying to create a new cluster with this host as the master host. Since this host has already been designated as a harvest-ready compute host, it cannot be set as master. | Command failed. [255]
  hostB -f: The host hostA has joined the cluster cluster1. [0]
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostB"
  $ fixture; printf 'Begin Cluster\nClusterName\nEnd Cluster\n' >"$CONF/orv.shared"; each join 'hostA -f'
  hostA -f: Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt. | Command failed. [255]
  $ fixture; sed -i '/ORV_MASTER_LIST/d' "$CONF/orv.conf"; each join 'hostA -f'
  hostA -f: The parameter [ORV_MASTER_LIST] cannot be found in file [$T/top/kernel/conf/orv.conf]. Please check your configuration file. | Command failed. [255]

A resource group file without the placeholder is left alone; a missing one fails after
orv.conf and the cluster file changed; a failed write keeps the new text in the .tmp.

  $ fixture; sed -i '/@ORV_MASTER@/d' "$CONF/ResourceGroups.xml"; orv join hostA -f
  A new cluster <cluster1> has been created. The host <hostA> is the master host.
  +++ top/kernel/conf/orv.cluster.cluster1
  @@ -6,0 +7 @@
  +hostA     !        !            1     -    -    -   (linux)
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostA"
  @@ -6 +5,0 @@
  -ORV_GET_CONF=lim
  $ fixture; rm "$CONF/ResourceGroups.xml"; orv join hostA -f
  Cannot open file $T/top/kernel/conf/ResourceGroups.xml.
  Set             <ResourceEntry ResourceID="hostA"/> in ResourceGroups.xml failed.
  Command failed.
  +++ top/kernel/conf/orv.cluster.cluster1
  @@ -6,0 +7 @@
  +hostA     !        !            1     -    -    -   (linux)
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostA"
  @@ -6 +5,0 @@
  -ORV_GET_CONF=lim
  [255]
  $ strace -qq -o /dev/null true 2>/dev/null || exit 80
  $ fixture; mapfile -t envs < <(orv_env)
  $ env -i PATH="$PATH" strace -qq -o /dev/null -P "$CONF/orv.conf" -e trace=write -e inject=write:error=ENOSPC:when=2 "${envs[@]/#/-E}" -E ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0 "$ORVCONFIG" join hostA -f </dev/null | orv_paths; cat "$CONF/orv.conf.tmp"
  Cannot write file $T/top/kernel/conf/orv.conf. Its new content is kept in $T/top/kernel/conf/orv.conf.tmp.
  Command failed.
  # ORV kernel configuration
  ORV_MASTER_LIST="hostA"
  ORV_LIM_PORT=7869
  ORV_KD_PORT=7870
  ORV_PEM_PORT=7871
  ORV_WORKDIR=/opt/orv/kernel/work
