hovhdfsport: HOV_HDFS_PORT of the three HDFS profiles, local and shared (a random free port B).

  $ . "$TESTDIR/helpers.bash"; set -o pipefail
  $ hdfs() { local n; for n in NameNode SecondaryNode DataNode; do printf '<?xml version="1.0" encoding="UTF-8"?>\n<Service name="%s">\n    <Environment name="HOV_HDFS_HOST">hostA</Environment>\n    <Environment name="HOV_HDFS_PORT">%s</Environment>\n</Service>\n' $n "$2" >"$1/$(tr A-Z a-z <<<$n).xml"; done; }
  $ setup() { fixture "$@"; S=$TOP/oservice/osc/conf/services; export B; B=$(orv_free_base 1); }
  $ show() { printf '<Service>\n%s\n</Service>\n' "$@" >"$S/namenode.xml"; orv hovhdfsport show; }

show: the NameNode's port as far as its number goes, 0 without profile or element, the shared one.

  $ setup plain; orv hovhdfsport show; hdfs "$S" 8020; orv hovhdfsport show
  0 will be used as the HDFS service port, set as HOV_HDFS_PORT.
  8020 will be used as the HDFS service port, set as HOV_HDFS_PORT.
  $ show '<Environment name="HOV_HDFS_HOST">x</Environment>'; show '<Environment name="HOV_HDFS_PORT"> 9000 (RPC)</Environment>'
  0 will be used as the HDFS service port, set as HOV_HDFS_PORT.
  9000 will be used as the HDFS service port, set as HOV_HDFS_PORT.
  $ rm "$S/namenode.xml"; mkdir "$S/namenode.xml"; each hovhdfsport show
  hovhdfsport show: Cannot open file $T/top/kernel/conf/../../oservice/osc/conf/services/namenode.xml. | Cannot get HDFS service port number (HOV_HDFS_PORT). Check the NameNode profile (namenode.xml) for HDFS service port number. | Command failed. [255]
  $ setup shared; hdfs "$S" 8020; hdfs "$SSERVICES" 9000; orv hovhdfsport show
  9000 will be used as the HDFS service port, set as HOV_HDFS_PORT.

set: the profiles there are (one hunk each; none is fine), up to 65535 though the message says 65532

  $ setup plain; hdfs "$S" 8020; orv hovhdfsport set $B | rel | tee set | names; grep -v '^+++\|^C' set | LC_ALL=C sort | uniq -c; orv hovhdfsport show | rel
  Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is B.
  +++ top/oservice/osc/conf/services/datanode.xml top/oservice/osc/conf/services/namenode.xml top/oservice/osc/conf/services/secondarynode.xml
        3 +    <Environment name="HOV_HDFS_PORT">B</Environment>
        3 -    <Environment name="HOV_HDFS_PORT">8020</Environment>
        3 @@ -4 +4 @@
  B will be used as the HDFS service port, set as HOV_HDFS_PORT.
  $ setup plain; hdfs "$S" 8020; each 'hovhdfsport set' 000$B | rel | names
  hovhdfsport set B: Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is B. [0]
  +++ top/oservice/osc/conf/services/datanode.xml top/oservice/osc/conf/services/namenode.xml top/oservice/osc/conf/services/secondarynode.xml
  $ setup plain; hdfs "$S" 8020; rm "$S/namenode.xml" "$S/secondarynode.xml"; each 'hovhdfsport set' $B | rel | names; rm "$S/datanode.xml"; each 'hovhdfsport set' $B | rel
  hovhdfsport set B: Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is B. [0]
  +++ top/oservice/osc/conf/services/datanode.xml
  hovhdfsport set B: Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is B. [0]
  $ setup plain; hdfs "$S" 8020; orv_ports_free 65535 1 || echo "port 65535 busy"; each 'hovhdfsport set' 65535 | names
  hovhdfsport set 65535: Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is 65535. [0]
  +++ top/oservice/osc/conf/services/datanode.xml top/oservice/osc/conf/services/namenode.xml top/oservice/osc/conf/services/secondarynode.xml

Refusals: not plain digits (before the environment is looked at), out of range, a busy port.

  $ setup plain; hdfs "$S" 8020; each 'hovhdfsport set' 9000x +9000 1024 65536 4294976296 "' 9000'"
  hovhdfsport set 9000x: Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than 1024 but lower than 65532. | Command failed. [255]
  hovhdfsport set +9000: Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than 1024 but lower than 65532. | Command failed. [255]
  hovhdfsport set 1024: Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than 1024 but lower than 65532. | Command failed. [255]
  hovhdfsport set 65536: Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than 1024 but lower than 65532. | Command failed. [255]
  hovhdfsport set 4294976296: Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than 1024 but lower than 65532. | Command failed. [255]
  hovhdfsport set ' 9000': Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than 1024 but lower than 65532. | Command failed. [255]
  $ ORV_UNSET=ORV_CONFDIR each 'hovhdfsport set' 9z 1024; orv_hold_ports $B; each 'hovhdfsport set' $B | rel
  hovhdfsport set 9z: Invalid port number. The HDFS service port number (HOV_HDFS_PORT) must be greater than 1024 but lower than 65532. | Command failed. [255]
  hovhdfsport set 1024: The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Command failed. [255]
  hovhdfsport set B: The port B is in use. | Command failed. [255]

A shared host edits the shared profiles, then the local ones; only a local failure fails it.

  $ setup shared; hdfs "$S" 8020; hdfs "$SSERVICES" 8021; each 'hovhdfsport set' $B | rel | names
  hovhdfsport set B: Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is B. [0]
  +++ share/oservice/osc/conf/services/datanode.xml share/oservice/osc/conf/services/namenode.xml share/oservice/osc/conf/services/secondarynode.xml top/oservice/osc/conf/services/datanode.xml top/oservice/osc/conf/services/namenode.xml top/oservice/osc/conf/services/secondarynode.xml
  $ rm "$SSERVICES/secondarynode.xml"; mkdir "$SSERVICES/secondarynode.xml"; B=$(orv_free_base 1); each 'hovhdfsport set' $B | rel | names
  hovhdfsport set B: Cannot open file $T/share/kernel/conf/../../oservice/osc/conf/services/secondarynode.xml. | Set HOV_HDFS_PORT in B failed. | Communication ports have changed. The HDFS service port (HOV_HDFS_PORT) is B. [0]
  +++ share/oservice/osc/conf/services/datanode.xml share/oservice/osc/conf/services/namenode.xml top/oservice/osc/conf/services/datanode.xml top/oservice/osc/conf/services/namenode.xml top/oservice/osc/conf/services/secondarynode.xml
  $ rm "$S/datanode.xml"; mkdir "$S/datanode.xml"; B=$(orv_free_base 1); each 'hovhdfsport set' $B | rel | names
  hovhdfsport set B: Cannot open file $T/share/kernel/conf/../../oservice/osc/conf/services/secondarynode.xml. | Set HOV_HDFS_PORT in B failed. | Cannot open file $T/top/kernel/conf/../../oservice/osc/conf/services/datanode.xml. | Set HOV_HDFS_PORT in B failed. | Command failed. | Command failed. [255]
  +++ share/oservice/osc/conf/services/datanode.xml share/oservice/osc/conf/services/namenode.xml top/oservice/osc/conf/services/namenode.xml top/oservice/osc/conf/services/secondarynode.xml
