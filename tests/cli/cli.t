The command line: the usage, -h, -V, illegal options and words, each subcommand's usage on a
wrong count or word (exit 255, stdout only, nothing changed).

  $ . "$TESTDIR/helpers.bash"; fixture
  $ orvx >usage 2>/dev/null; echo "[$?]"; cat usage
  [255]
  
  Usage: orvconfig subcommand [options]
         orvconfig -h
         orvconfig -V
  Subcommand:
     addresourceattr "[resource resource_name] [resourcemap value*resource_name] ..."
  Adds a resource attribute tag to the parameter ORV_LOCAL_RESOURCES in orv.conf on the local host. The attribute tag is later referenced when you create a resource group and want to add hosts to it that share the same resource attribute.
  resourcemap :Keyword required by ORV_LOCAL_RESOURCES to signify that the name of the resource attribute tag is numeric. The name is preceded by a numeric value to form a name-value pair.
  resource : Keyword required by ORV_LOCAL_RESOURCES to signify that the name of the resource attribute tag is boolean.
  resource_name : Specifies the name of the resource attribute tag that identifies this type of host. For example, the resource attribute tag scvg could be later used to create a resource group for harvesting-capable hosts.
  
     join        master_name [-f]
  Adds the local UNIX host to the cluster that has the specified master host.
  
     masterlist  host_name[,host_name,...]
  Specifies the list of master candidates, starting with the master host, and including  all of the candidates, in the order of failover priority.
  
     mghost      shared_top [-f]
  Specifies to ignore the local configuration directory and look in the shared location for the configuration information and common files so the management hosts use a common set of files. Issuing this command adds this host to the management hosts resource group.
  
     mghost      vos [-f]
  Use this command when adding Brevant VOS to an existing ORV cluster. Specifies to ignore the local VOS configuration directory and use the ORV shared directory instead. Issue this command on all management hosts so VOS can use shared location configurations.
  
     mghost      kirn [-f]
  Use this command when adding Brevant Tessary to an existing ORV cluster. Specifies to ignore the local Tessary configuration directory and use the ORV shared directory instead. Issue this command only on the master host so that Tessary can use shared location configurations.
  
     mghost      zt [-f]
  Use this command when adding Brevant Tessary Analytics to an existing ORV cluster. Specifies to ignore the local Tessary Analytics configuration directory and use the ORV shared directory instead. Issue this command only on the master host so that Tessary Analytics can use shared location configurations.
  
     setbaseport base_port_no
  Changes the port number for the ORV_LIM service or daemon to the specified port number.
  
     unsetmghost [-f]
  Demotes the local management host to a compute host.
  
     hovhdfsport <show|set> port_no 
  Displays or updates the port number for the HDFS service.
  $ for o in -h -help -hx; do orvx $o 2>&1 | cmp - usage && echo "$o [${PIPESTATUS[0]}]"; done
  -h [0]
  -help [0]
  -hx [0]
  $ orvx -V 2>&1 >/dev/null | tee banner; echo "[${PIPESTATUS[0]}]"
  ORV 1.2.7.0 build 213132, Feb 27 2013
  Copyright (C) 2013 the orvconfig authors.
  All rights reserved.
  
  binary type: linux2.6-glibc2.3-x86_64
  [0]
  $ for o in -Vx -Version; do orvx $o 2>&1 >/dev/null | cmp - banner && echo "$o [${PIPESTATUS[0]}] stdout: $(orvx $o 2>/dev/null | wc -c)"; done
  -Vx [0] stdout: 0
  -Version [0] stdout: 0
  $ for o in -x - --help '-h extra' '-V x y'; do orvx $o >out 2>&1; echo "'$o' [$?] $(head -1 out)"; tail -n +2 out | cmp - usage; done
  '-x' [0] orvconfig: Illegal option --x
  '-' [0] orvconfig: Illegal option --
  '--help' [0] orvconfig: Illegal option ---help
  '-h extra' [255] orvconfig: Illegal option --h
  '-V x y' [255] orvconfig: Illegal option --V
  $ for w in foo masterlists Join hovhdfs ''; do orvx "$w" x >out 2>&1; echo "'$w x' [$?] $(head -1 out)"; tail -n +2 out | cmp - usage; done
  'foo x' [255] orvconfig: Illegal option -foo
  'masterlists x' [255] orvconfig: Illegal option -masterlists
  'Join x' [255] orvconfig: Illegal option -Join
  'hovhdfs x' [255] orvconfig: Illegal option -hovhdfs
  ' x' [255] orvconfig: Illegal option -
  $ u() { orv_run "$@"; echo "$* [$?] $(tr '\n' '|' <orv.out)"; cat orv.diff; }
  $ for a in masterlist 'masterlist hostA,hostB -f -f' 'join m -F' 'join hostB -f extra' 'mghost vos --f' 'unsetmghost f' 'setbaseport 20000 -f' addresourceattr 'hovhdfsport Show' 'hovhdfsport set' 'hovhdfsport show -f'; do u $a; done 2>/dev/null
  masterlist [255] |Usage: orvconfig masterlist host_name[,host_name,...] [-f]|
  masterlist hostA,hostB -f -f [255] |Usage: orvconfig masterlist host_name[,host_name,...] [-f]|
  join m -F [255] |Usage: orvconfig join master_name [-f]|
  join hostB -f extra [255] |Usage: orvconfig join master_name [-f]|
  mghost vos --f [255] |Usage: orvconfig mghost shared_top [-f]|       orvconfig mghost kirn [-f]|       orvconfig mghost vos [-f]|       orvconfig mghost zt [-f]|
  unsetmghost f [255] |Usage: orvconfig unsetmghost [-f]|
  setbaseport 20000 -f [255] |Usage: orvconfig setbaseport base_port_no|
  addresourceattr [255] |Usage: orvconfig addresourceattr "[resource resource_name] [resourcemap value*resource_name] ..."|
  hovhdfsport Show [255] |Usage: orvconfig hovhdfsport <show|set> <port>|
  hovhdfsport set [255] |Usage: orvconfig hovhdfsport <show|set> <port>|
  hovhdfsport show -f [255] |Usage: orvconfig hovhdfsport <show|set> <port>|

The environment and the administrator are checked before anything is read or written: one
check, shown here for each way into it (join and addresourceattr show the default one).

  $ all=('masterlist hostA' 'unsetmghost -f' 'setbaseport 20000')
  $ ORV_UNSET=ORV_CONFDIR each '' "${all[@]}" 'mghost /s -f'
  masterlist hostA: The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Command failed. [255]
  unsetmghost -f: The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Command failed. [255]
  setbaseport 20000: The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Command failed. [255]
  mghost /s -f: The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Warning: Cannot find the .install configuration, the old version will be running | Command failed. [255]
  $ ORV_UNSET=ORV_LOCAL_CONFDIR each '' 'mghost /s -f' 'unsetmghost -f' 'setbaseport 20000'
  mghost /s -f: The cluster local configuration directory cannot be found because the environment variable ORV_LOCAL_CONFDIR is not defined.  On unix, source the environment before running orvconfig. | The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Warning: Cannot find the .install configuration, the old version will be running | Command failed. [255]
  unsetmghost -f: The cluster local configuration directory cannot be found because the environment variable ORV_LOCAL_CONFDIR is not defined.  On unix, source the environment before running orvconfig. | Command failed. [255]
  setbaseport 20000: The cluster local configuration directory cannot be found because the environment variable ORV_LOCAL_CONFDIR is not defined.  On unix, source the environment before running orvconfig. | Command failed. [255]
  $ : >"$T/plainfile"; ORV_CONFDIR_DIR=$T/plainfile each '' 'join hostA' 'setbaseport 20000'; ORV_CONFDIR_DIR=$T/missing each '' 'setbaseport 20000'
  join hostA: The cluster configuration directory cannot be used because the environment variable ORV_CONFDIR is not set to a valid directory. | Command failed. [255]
  setbaseport 20000: The cluster configuration directory cannot be used because the environment variable ORV_CONFDIR is not set to a valid directory. | Command failed. [255]
  setbaseport 20000: Command failed. [255]
  $ sed -i 's/^Administrators = .*/Administrators = root,orvadmin/' "$CONF/orv.cluster.cluster1"; each '' "${all[@]}"
  masterlist hostA: You must be cluster administrator [root] to use orvconfig. | Command failed. [255]
  unsetmghost -f: You must be cluster administrator [root] to use orvconfig. | Command failed. [255]
  setbaseport 20000: You must be cluster administrator [root] to use orvconfig. | Command failed. [255]
  $ fixture; ORV_LOGIN=OrvAdmin; orv_write_nss; each '' 'hovhdfsport show'
  hovhdfsport show: You must be cluster administrator [orvadmin] to use orvconfig. | Command failed. [255]
  $ fixture; rm "$CONF/orv.cluster.cluster1"; each '' 'setbaseport 20000'
  setbaseport 20000: Cannot open the file $T/top/kernel/conf/orv.cluster.cluster1. | Command failed. [255]
  $ fixture; printf 'Begin Cluster\nClusterName\nEnd Cluster\n' >"$CONF/orv.shared"; each '' "${all[@]}"
  masterlist hostA: Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt. | Command failed. [255]
  unsetmghost -f: Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt. | Command failed. [255]
  setbaseport 20000: Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt. | Command failed. [255]
