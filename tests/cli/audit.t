One syslog line per changing run (ident orvconfig, facility authpriv, the undo included),
none for a no-op, a refusal or a dry run, received on a datagram socket of the test's own
bound at /dev/log in a private mount namespace.

  $ . "$TESTDIR/helpers.bash"
  $ unshare -m true 2>/dev/null || skip "no private mount namespace"
  $ fixture; B=$(orv_free_base 12); export T TOP CONF SHARE ORV_HOSTNAME ORV_LOGIN NSS_WRAPPER_LIB ORVCONFIG B; export -f orvx orv_env
  $ cat >runs <<'EOF'
  > mkdir dev.real && mount --bind /dev dev.real && mount -t tmpfs tmpfs /dev || exit 1
  > for d in null zero urandom; do touch "/dev/$d" && mount --bind "dev.real/$d" "/dev/$d"; done; ln -s /proc/self/fd /dev/fd
  > perl -e 'use Socket; socket(my $s, PF_UNIX, SOCK_DGRAM, 0) or die; bind($s, pack_sockaddr_un("/dev/log")) or die;
  >     open(my $r, ">", "log.ready"); close $r; $| = 1; my $m; print "$m\n" while defined recv($s, $m, 65536, 0)' >log 2>&1 </dev/null & listener=$!
  > for i in $(seq 100); do [ -e log.ready ] && break; sleep 0.05; done
  > orvx join hostA -f; orvx join hostA -f; orvx masterlist ghost; orvx --dry-run setbaseport "$B"
  > orvx setbaseport "$B"; orvx undo -f
  > sleep 0.5; kill "$listener"
  > EOF
  $ timeout 120 unshare -m bash runs >/dev/null; ls /dev/log 2>/dev/null; ls "$T.state/journal" | wc -l
  3
  $ sed -E -e 's/^<([0-9]+)>[A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} orvconfig\[[0-9]+\]: /<\1> orvconfig: /' -e "s/$B/B/g" log | orv_paths | sed -E 's/[0-9]{8}-[0-9]{6}\.[0-9]{3}-[0-9]+/ID/g'
  <85> orvconfig: user=orvadmin status=0 files=3 ($T/top/kernel/conf/orv.conf $T/top/kernel/conf/orv.cluster.cluster1 $T/top/kernel/conf/ResourceGroups.xml) journal=ID command=orvconfig join hostA -f
  <85> orvconfig: user=orvadmin status=0 files=1 ($T/top/kernel/conf/orv.conf) journal=ID command=orvconfig setbaseport B
  <85> orvconfig: user=orvadmin status=0 files=1 ($T/top/kernel/conf/orv.conf) journal=ID command=orvconfig undo -f
