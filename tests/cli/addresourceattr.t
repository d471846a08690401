addresourceattr on a compute host (its master list names another host).

  $ . "$TESTDIR/helpers.bash"
  $ ra_fixture() { fixture && sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostB"/' "$CONF/orv.conf" && { [ -z "$1" ] || echo "$1" >>"$CONF/orv.conf"; }; }
  $ ra_fixture; orv addresourceattr '[resource scvg]'
  Add resource tag successfully.
  +++ top/kernel/conf/orv.conf
  @@ -7,0 +8,2 @@
  +
  +ORV_LOCAL_RESOURCES="[resource scvg]"

New tags follow the old ones; a known one is not repeated, one given twice is written twice.

  $ new() { grep -v '^[-@]\|^+++'; }  # the rows and the lines written
  $ ra_fixture 'ORV_LOCAL_RESOURCES="[resource a]"	# rack 4'; each addresourceattr "'[resource a] [resourcemap 2*b]'" "'[resource a]'" | new
  addresourceattr '[resource a] [resourcemap 2*b]': Add resource tag successfully. [0]
  +ORV_LOCAL_RESOURCES="[resource a] [resourcemap 2*b]" # rack 4
  addresourceattr '[resource a]': Add resource tag successfully. [0]
  $ ra_fixture 'ORV_LOCAL_RESOURCES='; each addresourceattr "'\"[resource gpu] [resourcemap 4*mem] [resource gpu]\"'" | new
  addresourceattr '"[resource gpu] [resourcemap 4*mem] [resource gpu]"': Add resource tag successfully. [0]
  +ORV_LOCAL_RESOURCES="[resource gpu] [resourcemap 4*mem] [resource gpu]"
  $ ra_fixture 'ORV_LOCAL_RESOURCES="[tag x]"'; each addresourceattr "'[resource y]'" | new
  addresourceattr '[resource y]': Add resource tag successfully. [0]
  +ORV_LOCAL_RESOURCES="[tag x] [resource y]"

Texts outside the tag grammar print the usage; an existing value that does not parse fails.

  $ each addresourceattr "'[resource a b]'" "''"
  addresourceattr '[resource a b]':  | Usage: orvconfig addresourceattr "[resource resource_name] [resourcemap value*resource_name] ..." [255]
  addresourceattr '':  | Usage: orvconfig addresourceattr "[resource resource_name] [resourcemap value*resource_name] ..." [255]
  $ echo 'ORV_LOCAL_RESOURCES="[resource x y]"' >>"$CONF/orv.conf"; orv addresourceattr '[resource y]'
  Add resource tag successfully.
  +++ top/kernel/conf/orv.conf
  @@ -9 +9 @@
  -ORV_LOCAL_RESOURCES="[resource x y]"
  +ORV_LOCAL_RESOURCES="[tag x] [resource y]"
  $ ra_fixture 'ORV_LOCAL_RESOURCES="[resource x y]"'; each addresourceattr "'[resource y]'"
  addresourceattr '[resource y]': Command failed. [255]
  $ ra_fixture '  # ORV_LOCAL_RESOURCES lists the tags'; echo 'ORV_LOCAL_RESOURCES="[resource scvg] [resourcemap 8*gpu]"' >>"$CONF/orv.conf"; each addresourceattr "'[resource fast]'"
  addresourceattr '[resource fast]': Command failed. [255]

Not a compute host: another local directory (a link is not), a master candidate; no master.

  $ ra_fixture; mkdir "$T/local"; cp "$CONF/orv.conf" "$T/local/"; ORV_LOCAL_CONFDIR_DIR=$T/local each addresourceattr "'[resource scvg]'"
  addresourceattr '[resource scvg]': This command can only be executed on compute hosts. This host does not appear to be a compute host because ORV_CONFDIR environment and ORV_LOCAL_CONFDIR are different. | ORV_CONFDIR: |     $T/top/kernel/conf | ORV_LOCAL_CONFDIR: |     $T/local | Command failed. [255]
  $ ln -s "$CONF" "$T/linked"; ORV_LOCAL_CONFDIR_DIR=$T/linked orv addresourceattr '[resource scvg]' | names
  Add resource tag successfully.
  +++ top/kernel/conf/orv.conf
  $ ra_fixture; sed -i 's/"hostB"/"hostB hostA.lab.local"/' "$CONF/orv.conf"; each addresourceattr "'[resource scvg]'"
  addresourceattr '[resource scvg]': This command cannot be executed on a master or master candidate host. This host appears to be a master or master candidate host because it is specified in parameter ORV_MASTER_LIST in $ORV_CONFDIR/orv.conf.  | ORV_CONFDIR: |     $T/top/kernel/conf | Command failed. [255]
  $ fixture; each addresourceattr "'[resource a]'" | new
  addresourceattr '[resource a]': You have not input any hosts in the master list. Specify the name of the master host and any master candidates. | Add resource tag successfully. [0]
  +
  +ORV_LOCAL_RESOURCES="[resource a]"

The environment, the administrator, a directory in place of orv.conf.

  $ ra_fixture; a="'[resource scvg]'"; ORV_UNSET=ORV_CONFDIR each addresourceattr "$a"; ORV_UNSET=ORV_LOCAL_CONFDIR each addresourceattr "$a"
  addresourceattr '[resource scvg]': The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Command failed. [255]
  addresourceattr '[resource scvg]': The cluster local configuration directory cannot be found because the environment variable ORV_LOCAL_CONFDIR is not defined.  On unix, source the environment before running orvconfig. | Command failed. [255]
  $ sed -i 's/^Administrators = .*/Administrators = admin1 admin2/' "$CONF/orv.cluster.cluster1"; each addresourceattr "$a"
  addresourceattr '[resource scvg]': You must be cluster administrator [admin1 admin2] to use orvconfig. | Command failed. [255]
  $ printf 'Begin Cluster\nClusterName\nEnd Cluster\n' >"$CONF/orv.shared"; each addresourceattr "$a"
  addresourceattr '[resource scvg]': Cannot get cluster name. The cluster does not work properly. The orv.shared file may be corrupt. | Command failed. [255]
  $ ra_fixture; rm "$CONF/orv.conf"; mkdir "$CONF/orv.conf"; each addresourceattr "$a"
  addresourceattr '[resource scvg]': Cannot open file $T/top/kernel/conf/orv.conf. | Cannot open the file $T/top/kernel/conf/orv.conf. | Command failed. [255]
