masterlist: stored with blanks, echoed as typed, mirrored into vos.conf, each name looked up once.

  $ . "$TESTDIR/helpers.bash"; set -o pipefail
  $ ml_fixture() {
  >   fixture && sed -i 's/@ORV_MASTER_LIST@/hostA hostB/' "$CONF/orv.conf" &&
  >   sed -i '/^HOSTNAME/a hostA     !        !            1     -    -    -   (linux mg)\nhostB.lab.local !        !            1     -    -    -   (linux mg)\nhostC     !        !            1     -    -    -   (linux mg)' "$CONF/orv.cluster.cluster1"
  > }
  $ ml_fixture; orv masterlist hostB,hostA,hostC
  The master host failover order is hostB,hostA,hostC. To make changes take effect, restart ORV on the master host with the command orvsh orv restart.
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="hostA hostB"
  +ORV_MASTER_LIST="hostB hostA hostC"
  $ each masterlist ',hostB,,hostC, -f' | grep -v '^[-@]\|^+++'
  masterlist ,hostB,,hostC, -f: The master host failover order is ,hostB,,hostC,. To make changes take effect, restart ORV on the master host with the command orvsh orv restart. [0]
  +ORV_MASTER_LIST="hostB hostC"
  $ each masterlist hostA,10.0.0.2 hostA,ghost,10.0.0.2 hostA,hostB,hostB.lab.local hostB.lab.local,hostC,hostb hostA,hostD ,,, hostA,hostC
  masterlist hostA,10.0.0.2: [10.0.0.2] is not a valid host name. | Command failed. [255]
  masterlist hostA,ghost,10.0.0.2: [ghost] is not a valid host name. | Command failed. [255]
  masterlist hostA,hostB,hostB.lab.local: You have input the host "hostB.lab.local" more than once in the master list. Do not duplicate host names in the list. | Command failed. [255]
  masterlist hostB.lab.local,hostC,hostb: You have input the host "hostb" more than once in the master list. Do not duplicate host names in the list. | Command failed. [255]
  masterlist hostA,hostD: The host hostD cannot be a master candidate because it is not a management host. Run "orvconfig mghost" to configure the host as a management host. | Command failed. [255]
  masterlist ,,,: You have not input any hosts in the master list. Specify the name of the master host and any master candidates. | Command failed. [255]
  masterlist hostA,hostC: Only existing master candidates can be used as master host (first host in the list). To introduce a new host as master host, append the host name to the list of candidates without changing the existing master host, restart ORV on the master host, then change the order of the list to make the new host as the master host. | Command failed. [255]

From the placeholder no master can be named; a new candidate comes first only once it is one.

  $ ml_fixture; sed -i 's/hostA hostB/@ORV_MASTER_LIST@/' "$CONF/orv.conf"; each masterlist hostA
  masterlist hostA: Only existing master candidates can be used as master host (first host in the list). To introduce a new host as master host, append the host name to the list of candidates without changing the existing master host, restart ORV on the master host, then change the order of the list to make the new host as the master host. | Command failed. [255]
  $ ml_fixture; each masterlist hostC,hostA hostA,hostB,hostC hostC,hostA | names
  masterlist hostC,hostA: Only existing master candidates can be used as master host (first host in the list). To introduce a new host as master host, append the host name to the list of candidates without changing the existing master host, restart ORV on the master host, then change the order of the list to make the new host as the master host. | Command failed. [255]
  masterlist hostA,hostB,hostC: The master host failover order is hostA,hostB,hostC. To make changes take effect, restart ORV on the master host with the command orvsh orv restart. [0]
  +++ top/kernel/conf/orv.conf
  masterlist hostC,hostA: The master host failover order is hostC,hostA. To make changes take effect, restart ORV on the master host with the command orvsh orv restart. [0]
  +++ top/kernel/conf/orv.conf

A commented key line is not the list but is rewritten; no key; orv.conf a directory, FIFO, missing.

  $ printf '#ORV_MASTER_LIST="hostC"\nORV_LIM_PORT=7869\t\nORV_MASTER_LIST="hostA hostB"\n' >"$CONF/orv.conf"; each masterlist hostC,hostA hostB,hostC
  masterlist hostC,hostA: Only existing master candidates can be used as master host (first host in the list). To introduce a new host as master host, append the host name to the list of candidates without changing the existing master host, restart ORV on the master host, then change the order of the list to make the new host as the master host. | Command failed. [255]
  masterlist hostB,hostC: The master host failover order is hostB,hostC. To make changes take effect, restart ORV on the master host with the command orvsh orv restart. [0]
  +++ top/kernel/conf/orv.conf
  @@ -1,3 +1,3 @@
  -#ORV_MASTER_LIST="hostC"
  -ORV_LIM_PORT=7869\t (esc)
  -ORV_MASTER_LIST="hostA hostB"
  +ORV_MASTER_LIST="hostB hostC"
  +ORV_LIM_PORT=7869
  +ORV_MASTER_LIST="hostB hostC"
  $ sed -i '/^ORV_MASTER_LIST=/d' "$CONF/orv.conf"; each masterlist hostA
  masterlist hostA: The parameter [ORV_MASTER_LIST] cannot be found in file [$T/top/kernel/conf/orv.conf]. Please check your configuration file. | Command failed. [255]
  $ rm "$CONF/orv.conf"; mkdir "$CONF/orv.conf"; each masterlist hostA; rmdir "$CONF/orv.conf"; mkfifo "$CONF/orv.conf"; each masterlist hostA; rm "$CONF/orv.conf"; each masterlist hostA
  masterlist hostA: Cannot open file $T/top/kernel/conf/orv.conf. | Command failed. [255]
  masterlist hostA: Cannot open file $T/top/kernel/conf/orv.conf. | Command failed. [255]
  masterlist hostA: Command failed. [255]

10,000-character arguments are neither truncated nor a crash.

  $ ml_fixture; each masterlist "hostA,$(printf 'x%.0s' $(seq 10000))" "hostB$(printf ',%.0s' $(seq 10000))hostA" | sed 's/\(.\)\1\{9999\}/<10000 \1>/g' | names
  masterlist hostA,<10000 x>: [<10000 x>] is not a valid host name. | Command failed. [255]
  masterlist hostB<10000 ,>hostA: The master host failover order is hostB<10000 ,>hostA. To make changes take effect, restart ORV on the master host with the command orvsh orv restart. [0]
  +++ top/kernel/conf/orv.conf

vos.conf of VOS_ENVDIR (left alone on a refusal, never made); a root-prefixed login keeps modes.

  $ ml_fixture; mkdir "$T/vos"; export VOS_ENVDIR_DIR=$T/vos; printf '# batch\r\nVOS_MASTER_LIST="hostA hostB"\nVOS_PORT=6881\t\n#VOS_MASTER_LIST="old"\n' >"$T/vos/vos.conf"
  $ each masterlist hostD,hostA hostB,hostA
  masterlist hostD,hostA: The host hostD cannot be a master candidate because it is not a management host. Run "orvconfig mghost" to configure the host as a management host. | Command failed. [255]
  masterlist hostB,hostA: The master host failover order is hostB,hostA. To make changes take effect, restart ORV on the master host with the command orvsh orv restart. [0]
  +++ top/kernel/conf/orv.conf
  @@ -2 +2 @@
  -ORV_MASTER_LIST="hostA hostB"
  +ORV_MASTER_LIST="hostB hostA"
  +++ vos/vos.conf
  @@ -1,4 +1,4 @@
  -# batch\r (esc)
  -VOS_MASTER_LIST="hostA hostB"
  -VOS_PORT=6881\t (esc)
  -#VOS_MASTER_LIST="old"
  +# batch
  +VOS_MASTER_LIST="hostB hostA"
  +VOS_PORT=6881
  +VOS_MASTER_LIST="hostB hostA"
  $ rm "$T/vos/vos.conf"; each masterlist hostA,hostB | names
  masterlist hostA,hostB: The master host failover order is hostA,hostB. To make changes take effect, restart ORV on the master host with the command orvsh orv restart. [0]
  +++ top/kernel/conf/orv.conf
  $ printf 'VOS_MASTER_LIST="hostA hostB"\n' >"$T/vos/vos.conf"; chmod 640 "$T/vos/vos.conf"; chmod 604 "$CONF/orv.conf"; ORV_LOGIN=rootadm; orv_write_nss
  $ sed -i 's/= orvadmin/= rootadm/' "$CONF/orv.cluster.cluster1"; each masterlist hostB,hostA | names; stat -c '%a %n' "$T/vos/vos.conf" "$CONF/orv.conf" | orv_paths | paste -sd' '
  masterlist hostB,hostA: The master host failover order is hostB,hostA. To make changes take effect, restart ORV on the master host with the command orvsh orv restart. [0]
  +++ top/kernel/conf/orv.conf vos/vos.conf
  640 $T/vos/vos.conf 604 $T/top/kernel/conf/orv.conf

Each distinct host name is looked up once, even for a refused duplicate.

  $ cc -shared -fPIC -o shim.so "$TESTDIR/lookup_count_shim.c" -ldl || exit 80
  $ counted() { : >lookups; LD_PRELOAD_SHIM=$PWD/shim.so ORV_LOOKUP_LOG=$PWD/lookups each "$@" | names; LC_ALL=C sort lookups | paste -sd' '; }
  $ ml_fixture; counted masterlist hostB,hostA.lab.local,hostC
  masterlist hostB,hostA.lab.local,hostC: The master host failover order is hostB,hostA.lab.local,hostC. To make changes take effect, restart ORV on the master host with the command orvsh orv restart. [0]
  +++ top/kernel/conf/orv.conf
  getaddrinfo hostA getaddrinfo hostA.lab.local getaddrinfo hostB getaddrinfo hostB.lab.local getaddrinfo hostC
  $ counted masterlist hostA,hostB,hostC,hostb,hostB
  masterlist hostA,hostB,hostC,hostb,hostB: You have input the host "hostb" more than once in the master list. Do not duplicate host names in the list. | Command failed. [255]
  getaddrinfo hostA getaddrinfo hostB getaddrinfo hostC getaddrinfo hostb
