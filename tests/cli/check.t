check: a read-only report of the rules the subcommands keep, one line per finding.

The healthy tree is hostB, a master candidate on the shared directory, with service
profiles on both sides; every row starts from a fresh copy of it, injects one fault, and
shows the report joined on one line and the status. The tree must come back byte for byte,
mtimes and directories included, with no ".tmp".

  $ . "$TESTDIR/helpers.bash"; set -o pipefail
  $ healthy() { fixture demote; P=$SHARE/oservice/osc/conf/services L=$CTOP/oservice/osc/conf/services; mkdir -p "$P" "$L"
  >   printf '<Service name="rs">\n    <Environment name="REPOSITORY_SERVICE_PORT">7873</Environment>\n</Service>\n' | tee "$P/rs.xml" >"$L/rs.xml"
  >   for n in namenode datanode; do printf '<Service>\n    <Environment name="HOV_HDFS_PORT">8020</Environment>\n</Service>\n' >"$P/$n.xml"; done; }
  $ snap() { (cd "$T" && find . -printf '%p %y %m %s %T@\n' | sort && find . -type f -exec md5sum {} + | sort); }
  $ fault() { local name=$1; healthy; eval "$2"; snap >before; orvx check >out 2>&1; local st=$?
  >   snap | cmp -s - before || echo "$name: the tree changed"; [ -z "$(find "$T" -name '*.tmp' ! -name 'orv.conf.tmp')" ] || echo "$name: a .tmp was made"
  >   printf '%s: %s [%s]\n' "$name" "$(orv_paths <out | sed ':a;N;$!ba;s/\n/ | /g')" "$st"; }

Healthy: only the summary line, status 0; the same for a reader who is no administrator.

  $ healthy; orv check
  check: 0 errors, 0 warnings (master candidate of cluster cluster1)
  $ ORV_LOGIN=reader; orv_write_nss; orv check; ORV_LOGIN=orvadmin
  check: 0 errors, 0 warnings (master candidate of cluster cluster1)
  $ fixture master; orv check | tail -n 1; fixture plain; orv check | tail -n 1
  check: 2 errors, 0 warnings (master host of cluster cluster1)
  check: 1 error, 0 warnings (compute host of cluster cluster1)
  [1]

Errors: the environment and the cluster's identity.

  $ fault local-dir 'ORV_LOCAL_CONFDIR_DIR=$T/nowhere'
  local-dir: $T/nowhere: error: ORV_LOCAL_CONFDIR is not a directory | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault cluster-name 'printf "Begin Cluster\nClusterName\nEnd Cluster\n" >"$SCONF/orv.shared"'
  cluster-name: $T/share/kernel/conf/orv.shared: error: the Cluster section names no cluster | check: 1 error, 0 warnings (master candidate of cluster ?) [1]
  $ fault cluster-file 'rm "$SCONF/orv.cluster.cluster1"'
  cluster-file: $T/share/kernel/conf/orv.cluster.cluster1: error: the file does not exist | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault admins 'sed -i /Administrators/d "$SCONF/orv.cluster.cluster1"'
  admins: $T/share/kernel/conf/orv.cluster.cluster1: error: the ClusterAdmins section names no administrator | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault host-section 'sed -i /^HOSTNAME/d "$SCONF/orv.cluster.cluster1"'
  host-section: $T/share/kernel/conf/orv.cluster.cluster1: error: no Host section with a HOSTNAME header | $T/share/kernel/conf/orv.conf:2: error: master candidate hostA is not a management host of $T/share/kernel/conf/orv.cluster.cluster1 | $T/share/kernel/conf/orv.conf:2: error: master candidate hostB is not a management host of $T/share/kernel/conf/orv.cluster.cluster1 | $T/share/kernel/conf/orv.conf:2: error: master candidate hostC is not a management host of $T/share/kernel/conf/orv.cluster.cluster1 | $T/share/kernel/conf/orv.cluster.cluster1: error: this host (hostB) has no line in the host section | check: 5 errors, 0 warnings (master candidate of cluster cluster1) [1]

The master list.

  $ fault list-missing 'sed -i /ORV_MASTER_LIST/d "$SCONF/orv.conf"'
  list-missing: $T/share/kernel/conf/orv.conf: error: ORV_MASTER_LIST is not set | check: 1 error, 0 warnings (management host of cluster cluster1) [1]
  $ fault list-empty 'sed -i "s/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST=\"\"/" "$SCONF/orv.conf"'
  list-empty: $T/share/kernel/conf/orv.conf:2: error: ORV_MASTER_LIST names no host | check: 1 error, 0 warnings (management host of cluster cluster1) [1]
  $ fault list-ghost 'sed -i "s/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST=\"hostA hostB ghost\"/" "$SCONF/orv.conf"'
  list-ghost: $T/share/kernel/conf/orv.conf:2: error: master candidate ghost is not a valid host name (it does not resolve) | $T/share/kernel/conf/orv.conf:2: error: master candidate ghost is not a management host of $T/share/kernel/conf/orv.cluster.cluster1 | check: 2 errors, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault list-twice 'sed -i "s/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST=\"hostA hostB hostA.lab.local\"/" "$SCONF/orv.conf"'
  list-twice: $T/share/kernel/conf/orv.conf:2: error: master candidate hostA.lab.local is listed more than once (as hostA before) | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault list-compute 'sed -i "s/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST=\"hostA hostB hostD\"/" "$SCONF/orv.conf"'
  list-compute: $T/share/kernel/conf/orv.conf:2: error: master candidate hostD is not a management host of $T/share/kernel/conf/orv.cluster.cluster1 | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault vos-list 'mkdir "$T/vos"; echo "VOS_MASTER_LIST=\"hostA hostC\"" >"$T/vos/vos.conf"; VOS_ENVDIR_DIR=$T/vos'
  vos-list: $T/vos/vos.conf:1: error: VOS_MASTER_LIST is "hostA hostC", ORV_MASTER_LIST is "hostA hostB hostC" | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]

The port block, on the shared and the local side, and the HDFS port.

  $ fault kd-port 'sed -i s/^ORV_KD_PORT=.*/ORV_KD_PORT=7871/ "$SCONF/orv.conf"'
  kd-port: $T/share/kernel/conf/orv.conf:4: error: ORV_KD_PORT is 7871, expected 7870 (base port 7869 + 1) | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault local-base 'sed -i s/^ORV_LIM_PORT=.*/ORV_LIM_PORT=9000/ "$CCONF/orv.conf"'
  local-base: $T/top-hostB/kernel/conf/orv.conf:3: error: ORV_LIM_PORT is 9000, expected 7869 (base port 7869 + 0) | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault no-base 'sed -i /^ORV_LIM_PORT=/d "$SCONF/orv.conf"'
  no-base: $T/share/kernel/conf/orv.conf: error: ORV_LIM_PORT is not set: no base port | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault xml-port 'sed -i s/7873/78x3/ "$L/rs.xml"'
  xml-port: $T/top-hostB/kernel/conf/../../oservice/osc/conf/services/rs.xml:2: error: REPOSITORY_SERVICE_PORT is "78x3", not a port number (1025-65535) | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault range 'sed -i s/7873/70000/ "$P/rs.xml"'
  range: $T/share/kernel/conf/../../oservice/osc/conf/services/rs.xml:2: error: REPOSITORY_SERVICE_PORT is "70000", not a port number (1025-65535) | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault hdfs 'sed -i s/8020/8021/ "$P/datanode.xml"'
  hdfs: $T/share/kernel/conf/../../oservice/osc/conf/services/datanode.xml:2: error: HOV_HDFS_PORT is 8021, but 8020 in $T/share/kernel/conf/../../oservice/osc/conf/services/namenode.xml | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]

The shared directory: this host's line, the environment scripts, the resource group.

  $ fault no-mg 'sed -i "s/^\(hostB .*\)(linux mg)/\1(linux)/" "$SCONF/orv.cluster.cluster1"'
  no-mg: $T/share/kernel/conf/orv.cluster.cluster1: error: the line of this host (hostB) does not name the resource mg | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault no-line 'sed -i /^hostB/d "$SCONF/orv.cluster.cluster1"'
  no-line: $T/share/kernel/conf/orv.conf:2: error: master candidate hostB is not a management host of $T/share/kernel/conf/orv.cluster.cluster1 | $T/share/kernel/conf/orv.cluster.cluster1: error: this host (hostB) has no line in the host section | check: 2 errors, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault cshrc 'sed -i "s|^setenv ORV_CONFDIR .*|setenv ORV_CONFDIR \$ORV_TOP/kernel/conf|" "$CCONF/cshrc.orv"'
  cshrc: $T/top-hostB/kernel/conf/cshrc.orv:2: error: ORV_CONFDIR is set to $T/top-hostB/kernel/conf, not to the directory in use $T/share/kernel/conf | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault profile 'sed -i "s|^ORV_CONFDIR=.*|ORV_CONFDIR=$T/elsewhere|" "$CCONF/profile.orv"'
  profile: $T/top-hostB/kernel/conf/profile.orv:2: error: ORV_CONFDIR is set to $T/elsewhere, not to the directory in use $T/share/kernel/conf | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault group 'sed -i "s/select(mg)/select(!mg)/" "$SCONF/ResourceGroups.xml"'
  group: $T/share/kernel/conf/ResourceGroups.xml: error: the ManagementHosts group does not select the hosts tagged mg | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]

Tags, and a directory or FIFO where a configuration file must be (never waited on).

  $ fault tags 'echo "ORV_LOCAL_RESOURCES=\"[resource a\"" >>"$CCONF/orv.conf"'
  tags: $T/top-hostB/kernel/conf/orv.conf:6: error: ORV_LOCAL_RESOURCES does not parse as [keyword value] entries | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault directory 'rm "$SCONF/ResourceGroups.xml"; mkdir "$SCONF/ResourceGroups.xml"'
  directory: $T/share/kernel/conf/ResourceGroups.xml: error: a directory where a configuration file must be | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]
  $ fault fifo 'rm "$L/rs.xml"; mkfifo "$L/rs.xml"'
  fifo: $T/top-hostB/kernel/conf/../../oservice/osc/conf/services/rs.xml: error: a FIFO, socket or device where a configuration file must be | check: 1 error, 0 warnings (master candidate of cluster cluster1) [1]

Warnings (status 0): text the next rewrite would lose or change, named with the
subcommand that would rewrite it.

  $ fault xml-split 'printf "<Service>\n    <Environment name=\"REPOSITORY_SERVICE_PORT\">\n7873</Environment>\n</Service>\n" >"$P/rs.xml"'
  xml-split: $T/share/kernel/conf/../../oservice/osc/conf/services/rs.xml:2: warning: the value of REPOSITORY_SERVICE_PORT runs past its line: setbaseport would drop the text up to the closing tag | check: 0 errors, 1 warning (master candidate of cluster cluster1) [0]
  $ fault continued 'sed -i "s/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST=\"hostA \\\\\nhostB hostC\"/" "$SCONF/orv.conf"'
  continued: $T/share/kernel/conf/orv.conf:2: warning: the value of ORV_MASTER_LIST is continued with a backslash: masterlist would replace this line and leave the continuation behind | check: 0 errors, 1 warning (master candidate of cluster cluster1) [0]
  $ fault cr 'sed -i "s/\$/\r/" "$CCONF/orv.conf"'
  cr: $T/top-hostB/kernel/conf/orv.conf:1: warning: carriage-return line end (5 lines): setbaseport would rewrite every line end as a plain newline | check: 0 errors, 1 warning (master candidate of cluster cluster1) [0]
  $ fault last-line 'printf "   " >>"$SCONF/orv.conf"'
  last-line: $T/share/kernel/conf/orv.conf:6: warning: the last line ends in blanks without a newline: setbaseport would drop it | check: 0 errors, 1 warning (master candidate of cluster cluster1) [0]
  $ fault tmp 'echo "ORV_KD_PORT=1" >"$SCONF/orv.conf.tmp"'
  tmp: $T/share/kernel/conf/orv.conf.tmp: warning: a failed edit left it: its new text was never installed in $T/share/kernel/conf/orv.conf, which setbaseport rewrites | check: 0 errors, 1 warning (master candidate of cluster cluster1) [0]
  $ fault read-only 'chmod u-w "$SCONF/ResourceGroups.xml"'
  read-only: $T/share/kernel/conf/ResourceGroups.xml: warning: its owner cannot write it: mghost cannot change it | check: 0 errors, 1 warning (master candidate of cluster cluster1) [0]

The host cannot be checked at all: the message of every subcommand, status 255.

  $ fault no-confdir 'ORV_UNSET=ORV_CONFDIR'
  no-confdir: The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Command failed. [255]
  $ fault confdir-file 'ORV_CONFDIR_DIR=$SCONF/orv.conf'
  confdir-file: The cluster configuration directory cannot be used because the environment variable ORV_CONFDIR is not set to a valid directory. | Command failed. [255]
  $ healthy; orv check --yaml
  
  Usage: orvconfig check [--json]
  [255]

--json: the same findings as one document, with stable codes; it parses and renders back
to the text form. A reader who is no administrator gets the same report.

  $ healthy; sed -i "s/^ORV_KD_PORT=.*/ORV_KD_PORT=1/" "$SCONF/orv.conf"; printf 'x' >"$SCONF/orv.conf.tmp"; sed -i 's/$/\r/' "$CCONF/cshrc.orv"
  $ orvx check >text; echo "[$?]"; orvx check --json >json; echo "[$?]"; python3 -m json.tool json >/dev/null && echo parses
  [1]
  [1]
  parses
  $ python3 -c 'import json, sys; d = json.load(open("json")); print(d["role"], d["cluster"], d["errors"], d["warnings"], *(f["level"] + ":" + f["code"] for f in d["findings"]))'
  master candidate cluster1 1 2 warning:file.leftover-tmp error:ports.value warning:text.carriage-return
  $ python3 -c 'import json; d = json.load(open("json")); n = lambda k, w: "%d %s%s" % (d[k], w, "" if d[k] == 1 else "s")
  > [print("%s%s: %s: %s" % (f["path"], ":%d" % f["line"] if f["line"] else "", f["level"], f["text"])) for f in d["findings"]]
  > print("check: %s, %s (%s of cluster %s)" % (n("errors", "error"), n("warnings", "warning"), d["role"], d["cluster"]))' | diff - text && echo agrees
  agrees
  $ ORV_LOGIN=reader; orv_write_nss; orvx check >reader; echo "[$?]"; diff text reader && echo same; ORV_LOGIN=orvadmin
  [1]
  same
