setbaseport: the port block on both configuration sides, the probe of ports really held here
(random free bases print as B, B+1, ...), refusals.

  $ . "$TESTDIR/helpers.bash"; set -o pipefail
  $ profiles() { # the service controller's profile in both its places, rs and mrss
  >   local x='<?xml version="1.0" encoding="UTF-8"?>' e='    <Environment name='
  >   mkdir -p "$1/oservice/osc/conf/services" "$1/kernel/oservice/osc/conf"
  >   printf '%s\n<ServiceController>\n    <Parameter name="OSC_PORT">7872</Parameter>\n</ServiceController>\n' "$x" | tee "$1/kernel/oservice/osc/conf/orvsc_conf.xml" >"$1/oservice/osc/conf/orvsc_conf.xml"
  >   printf '%s\n<Service name="RS">\n%s"REPOSITORY_SERVICE_PORT">7873</Environment>\n</Service>\n' "$x" "$e" >"$1/oservice/osc/conf/services/rs.xml"
  >   printf '<Service name="MRSS">\n%s"HOV_MRSS_SHUFFLE_CLIENT_PORT">7879</Environment>\n%s"HOV_MRSS_SHUFFLE_DATA_WRITE_PORT">7880</Environment>\n</Service>\n' "$e" "$e" >"$1/oservice/osc/conf/services/mrss.xml"
  > }
  $ sd() { printf '<Service name="SD">\n    <Environment name="SD_SDK_PORT">7874</Environment>\n    <Environment name="SD_ADMIN_PORT">7875</Environment>\n</Service>\n' >"$1"; }
  $ setup() { fixture "$@"; profiles "$TOP"; S=$TOP/oservice/osc/conf/services; export B; B=$(orv_free_base 12); }
  $ vals() { perl -ne 'print /^\+[^+].*?(?:">|=(?!"))([^<\n]*)/ ? "$1 " : /^[A-Z\$]/ ? $_ : ""'; echo; } # messages, then the values written

Five ports and the shuffle ports (vos.conf not read without a shared top); seven with sd profiles.

  $ setup plain; mkdir "$TOP\\conf"; echo VOS_LIM_PORT=7869 >"$TOP\\conf/vos.conf"; orv setbaseport $B | rel | tee ports | names; vals <ports | tail -n 1
  Communication ports have been changed. The new base port is B.
  +++ top/kernel/conf/orv.conf top/kernel/oservice/osc/conf/orvsc_conf.xml top/oservice/osc/conf/orvsc_conf.xml top/oservice/osc/conf/services/mrss.xml top/oservice/osc/conf/services/rs.xml
  B B+1 B+2 B+3 B+3 B+10 B+11 B+4 
  $ setup plain; sd "$S/sd.xml"; sd "$S/SD.xml"; orv setbaseport $B | rel | vals
  Communication ports have been changed. The new base port is B.
  B B+1 B+2 B+3 B+3 B+5 B+6 B+10 B+11 B+4 B+5 B+6 

Only existing profiles and keys are edited; a commented key line becomes the active one.

  $ setup plain; rm -r "$TOP/oservice" "$TOP/kernel/oservice"; printf '# ORV kernel configuration\n#ORV_KD_PORT=1\nORV_PEM_PORT =\t7871   \n' >"$CONF/orv.conf"
  $ orv setbaseport $B | rel
  Communication ports have been changed. The new base port is B.
  +++ top/kernel/conf/orv.conf
  @@ -2,2 +2,2 @@
  -#ORV_KD_PORT=1
  -ORV_PEM_PORT =\t7871    (esc)
  +ORV_KD_PORT=B+1
  +ORV_PEM_PORT=B+2

Not plain digits: refused before anything is read; out of range: after the administrator check.

  $ setup plain; ORV_UNSET="ORV_CONFDIR ORV_LOCAL_CONFDIR" each setbaseport 7a69 0x401 '１０２５'
  setbaseport 7a69: Invalid base port 7a69. The base port must be larger than 1024 and less than 65532. | Command failed. [255]
  setbaseport 0x401: Invalid base port 0x401. The base port must be larger than 1024 and less than 65532. | Command failed. [255]
  setbaseport \xef\xbc\x91\xef\xbc\x90\xef\xbc\x92\xef\xbc\x95: Invalid base port \xef\xbc\x91\xef\xbc\x90\xef\xbc\x92\xef\xbc\x95. The base port must be larger than 1024 and less than 65532. | Command failed. [255] (esc)
  $ each setbaseport 1024 000001024 65532 4294968321 "''"; sed -i 's/= orvadmin/= someoneelse/' "$CONF/orv.cluster.cluster1"; each setbaseport 1024
  setbaseport 1024: Invalid base port 1024. The base port must be larger than 1024 and less than 65532. | Command failed. [255]
  setbaseport 000001024: Invalid base port 000001024. The base port must be larger than 1024 and less than 65532. | Command failed. [255]
  setbaseport 65532: Invalid base port 65532. The base port must be larger than 1024 and less than 65532. | Command failed. [255]
  setbaseport 4294968321: Invalid base port 4294968321. The base port must be larger than 1024 and less than 65532. | Command failed. [255]
  setbaseport '': Invalid base port . The base port must be larger than 1024 and less than 65532. | Command failed. [255]
  setbaseport 1024: You must be cluster administrator [someoneelse] to use orvconfig. | Command failed. [255]

Every busy port of the block is named; the sd ports are probed only with an sd profile.

  $ setup plain; orv_hold_ports $((B + 1)) $((B + 4)); each setbaseport $B | rel
  setbaseport B: The port B+1 is in use. | The port B+4 is in use. | Command failed. [255]
  $ setup plain; orv_hold_ports $((B + 5)) $((B + 10)); orv setbaseport $B | rel | grep -v '^[-+@]'
  Communication ports have been changed. The new base port is B.
  $ sd "$S/sd.xml"; each setbaseport $B | rel
  setbaseport B: The port B+5 is in use. | Command failed. [255]

A shared host: both sides move (mrss.xml from the shared side), the block size from the local.

  $ setup shared; profiles "$SHARE"; sd "$S/sd.xml"; R=$(realpath "$SHARE"); mkdir "$TOP\\conf" "$R\\conf"
  $ echo VOS_LIM_PORT=7869 | tee "$R\\conf/vos.conf" >"$TOP\\conf/vos.conf"; orv setbaseport $B | rel | names
  Communication ports have been changed. The new base port is B.
  +++ share/kernel/conf/orv.conf share/kernel/oservice/osc/conf/orvsc_conf.xml share/oservice/osc/conf/orvsc_conf.xml share/oservice/osc/conf/services/mrss.xml share/oservice/osc/conf/services/rs.xml "$T/share\\conf/vos.conf" top/kernel/conf/orv.conf top/kernel/oservice/osc/conf/orvsc_conf.xml top/oservice/osc/conf/orvsc_conf.xml top/oservice/osc/conf/services/rs.xml top/oservice/osc/conf/services/sd.xml "$T/top\\conf/vos.conf"
  $ setup shared; profiles "$SHARE"; sd "$SSERVICES/sd.xml"; orv_hold_ports $((B + 6)); orv setbaseport $B | rel | vals
  Communication ports have been changed. The new base port is B.
  B B+1 B+2 B+3 B+3 B+10 B+11 B+4 B+5 B+6 B B+1 B+2 B+3 B+3 B+4 

A failed shared edit is reported, a failed local one fails the run after the others.

  $ setup shared; profiles "$SHARE"; rm "$SSERVICES/rs.xml"; mkdir "$SSERVICES/rs.xml"; each setbaseport $B | rel | grep -v '^[-+@]'
  setbaseport B: Cannot open file $T/share/kernel/conf/../../oservice/osc/conf/services/rs.xml. | Set REPOSITORY_SERVICE_PORT in B+4 failed. | Communication ports have been changed. The new base port is B. [0]
  $ setup shared; profiles "$SHARE"; rm "$CONF/orv.conf"; each setbaseport $B | rel | names
  setbaseport B: Cannot open file $T/top/kernel/conf/orv.conf. | Set ORV_LIM_PORT in B failed. | Cannot open file $T/top/kernel/conf/orv.conf. | Set ORV_KD_PORT in B+1 failed. | Cannot open file $T/top/kernel/conf/orv.conf. | Set ORV_PEM_PORT in B+2 failed. | Command failed. | Command failed. [255]
  +++ share/kernel/conf/orv.conf share/kernel/oservice/osc/conf/orvsc_conf.xml share/oservice/osc/conf/orvsc_conf.xml share/oservice/osc/conf/services/mrss.xml share/oservice/osc/conf/services/rs.xml top/kernel/oservice/osc/conf/orvsc_conf.xml top/oservice/osc/conf/orvsc_conf.xml top/oservice/osc/conf/services/rs.xml

A local directory named with \conf falls back to conf.old; another one fails.

  $ setup plain; mv "$CONF" "$TOP/kernel/conf.old"; ORV_CONFDIR_DIR=$TOP/kernel/conf.old ORV_LOCAL_CONFDIR_DIR="$TOP/kernel\\conf"
  $ orv setbaseport $B | rel | names
  $T/top/kernel\conf does not exist.
  Communication ports have been changed. The new base port is B.
  +++ top/kernel/conf.old/orv.conf top/kernel/oservice/osc/conf/orvsc_conf.xml top/oservice/osc/conf/orvsc_conf.xml top/oservice/osc/conf/services/mrss.xml top/oservice/osc/conf/services/rs.xml
  $ ORV_LOCAL_CONFDIR_DIR="$TOP/kernel\\none"; each setbaseport $B | rel
  setbaseport B: Command failed. [255]

The bounds (these fixed ports must be free here), the shuffle ports neither probed nor bounded.

  $ setup plain; orv_ports_free 1025 5 && orv_ports_free 65529 7 || echo "ports 1025-1029 or 65529-65535 busy"
  $ for b in 1025 65531; do orv setbaseport $b | vals; done; sd "$S/SD.xml"; each setbaseport 65530; orv setbaseport 65529 | vals
  Communication ports have been changed. The new base port is 1025.
  1025 1026 1027 1028 1028 1035 1036 1029 
  Communication ports have been changed. The new base port is 65531.
  65531 65532 65533 65534 65534 65541 65542 65535 
  setbaseport 65530: Invalid base port 65530. The base port must be larger than 1024 and less than 65532. | Command failed. [255]
  Communication ports have been changed. The new base port is 65529.
  65529 65530 65531 65532 65532 65534 65535 65539 65540 65533 
