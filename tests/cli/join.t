join: a new cluster (orv.conf, cluster file, resource group), an existing one, no-change, refusals.

  $ . "$TESTDIR/helpers.bash"; set -o pipefail
  $ fixture; orv join hostA -f | tee created
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
  $ fixture; ANSWERS="Y other yes" orv join hostA | tee asked | sed '1s/^.*\[y\/n\]//' | cmp - created && grep -o 'y/n' asked | wc -l
  3
  $ fixture; ORV_HOSTNAME=hostA.lab.local; sed -i '/^HOSTNAME/a hostA  ! ! 1 - - - (linux old)' "$CONF/orv.cluster.cluster1"; orv join hostA -f | grep -A3 "^+++ .*cluster1"
  +++ top/kernel/conf/orv.cluster.cluster1
  @@ -7 +7 @@
  -hostA  ! ! 1 - - - (linux old)
  +hostA     !        !            1     -    -    -   (linux)
  $ fixture; each join hostB; ANSWERS=n each join hostA
  join hostB: You are about to join this host to a cluster with master host hostB.  Do you want to continue? [y/n]No change [0]
  join hostA: You are about to create a new cluster with this host as the master host.  Do you want to continue? [y/n]No change [0]
  $ fixture; each join "' hostB	' -f"; fixture; ORV_HOSTNAME=hostC.lab.local ANSWERS=y each join hostB.lab.local
  join ' hostB\t' -f: The host hostA has joined the cluster cluster1. [0] (esc)
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostB"
  join hostB.lab.local: You are about to join this host to a cluster with master host hostB.lab.local.  Do you want to continue? [y/n]The host hostC.lab.local has joined the cluster cluster1. [0]
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

  $ sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB hostC"/' "$CONF/orv.conf"; each join hostC.lab.local 'hostD -f'
  join hostC.lab.local: No changes.  This host already belongs to a cluster with master host hostB. [0]
  join hostD -f: This host belongs to the cluster cluster1.  It cannot join a different cluster. | Command failed. [255]

Refusals of the argument (an address before the environment), the caller, the configuration.

  $ fixture; ORV_UNSET=ORV_CONFDIR each join "10.1.2.3 -f" "' 10.0.0.2 ' -f"; each join "'' -f" "'   ' -f" "'host B' -f" 'ghost -f'
  join 10.1.2.3 -f: IP address is not supported. Specify a valid host name. | Command failed. [255]
  join ' 10.0.0.2 ' -f: IP address is not supported. Specify a valid host name. | Command failed. [255]
  join '' -f: You have not input any master host. Specify the name of the master host. | Command failed. [255]
  join '   ' -f: You have not input any master host. Specify the name of the master host. | Command failed. [255]
  join 'host B' -f: [host B] is not a valid host name. | Command failed. [255]
  join ghost -f: [ghost] is not a valid host name. | Command failed. [255]
  $ sed -i 's/^Administrators = .*/Administrators = root,orvadmin/' "$CONF/orv.cluster.cluster1"; each join "'' -f"
  join '' -f: You must be cluster administrator [root] to use orvconfig. | Command failed. [255]
  $ fixture; echo 'ORV_LOCAL_RESOURCES="[resourcemap 1*x] [resource svrscvg]"' >>"$CONF/orv.conf"; each join 'hostA -f' 'hostB -f'
  join hostA -f: You are trying to create a new cluster with this host as the master host. Since this host has already been designated as a harvest-ready compute host, it cannot be set as master. | Command failed. [255]
  join hostB -f: The host hostA has joined the cluster cluster1. [0]
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="@ORV_MASTER_LIST@"
  +ORV_MASTER_LIST="hostB"
  $ fixture; printf '  # ORV_LOCAL_RESOURCES lists the tags\nORV_LOCAL_RESOURCES="[resource scvg]"\n' >>"$CONF/orv.conf"; each join 'hostA -f'
  join hostA -f: Command failed. [255]
  $ fixture; sed -i '/ORV_MASTER_LIST/d' "$CONF/orv.conf"; each join 'hostA -f'
  join hostA -f: The parameter [ORV_MASTER_LIST] cannot be found in file [$T/top/kernel/conf/orv.conf]. Please check your configuration file. | Command failed. [255]
  $ fixture; rm "$CONF/orv.conf"; each join 'hostA -f'
  join hostA -f: Command failed. [255]

A resource group without the placeholder is left alone; a missing one fails after the others.

  $ fixture; sed -i '/@ORV_MASTER@/d' "$CONF/ResourceGroups.xml"; orv join hostA -f | names
  A new cluster <cluster1> has been created. The host <hostA> is the master host.
  +++ top/kernel/conf/orv.cluster.cluster1 top/kernel/conf/orv.conf
  $ fixture; rm "$CONF/ResourceGroups.xml"; each join 'hostA -f' | names
  join hostA -f: Cannot open file $T/top/kernel/conf/ResourceGroups.xml. | Set             <ResourceEntry ResourceID="hostA"/> in ResourceGroups.xml failed. | Command failed. [255]
  +++ top/kernel/conf/orv.cluster.cluster1 top/kernel/conf/orv.conf
