mghost: the master (hostA) promoted onto the shared top, then a candidate; products; refusals.

  $ . "$TESTDIR/helpers.bash"; set -o pipefail
  $ fixture master; orv mghost "$SHARE" -f | tee promoted | names
  The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top/cshrc.tolvane or $T/top/profile.tolvane again.
  +++ share/kernel/conf/ResourceGroups.xml share/kernel/conf/orv.cluster.cluster1 share/kernel/conf/orv.conf share/kernel/conf/orv.shared share/kernel/conf/services/profiles/default.conf share/kernel/conf/services/rs.xml top/kernel/conf/cshrc.orv top/kernel/conf/orv.conf top/kernel/conf/profile.orv

The copies against the originals, and the local scripts' new lines.

  $ diff -rU0 "$T.before/top/kernel/conf" "$SHARE/kernel/conf" | sed -e '/^diff\|^---/d' -e 's|^+++ .*/\([^/	]*\).*|\1:|' | orv_paths; sed -n '/^+++ top/,$p' promoted | grep '^+[^+]'
  ResourceGroups.xml:
  @@ -4,3 +4 @@
  -        <ResourceList>
  -            <Resource>hostA</Resource>
  -        </ResourceList>
  +        <ResourceRequirement>select(mg)</ResourceRequirement>
  Only in $T.before/top/kernel/conf: cshrc.orv
  orv.cluster.cluster1:
  @@ -7 +7 @@
  -hostA     !        !           1      -    -    -    (linux)
  +hostA     !        !            1     -    -    -   (mg linux)
  orv.conf:
  @@ -5 +5,2 @@
  -ORV_WORKDIR=$T/top/kernel/work
  +ORV_WORKDIR=$T/share/kernel/work
  +ORV_SHARED_CONFDIR=$T/share/kernel/conf
  Only in $T.before/top/kernel/conf: profile.orv
  +setenv ORV_CONFDIR $T/share/kernel/conf
  +setenv ORV_OSRVDIR $T/share/oservice
  +ORV_WORKDIR=$T/share/kernel/work
  +ORV_CONFDIR=$T/share/kernel/conf
  +ORV_OSRVDIR=$T/share/oservice
  $ fixture master; orv mghost "$SHARE///" -f | cmp - promoted && echo same
  same

Products come along (not the add-on zt); the questions take y or yes, an exhausted input n.

  $ fixture master; mg_add_vos; mg_add_kirn; mg_add_zt; ANSWERS="y yes" orv mghost "$SHARE" | names
  This host will use configuration files on a shared directory. Make sure that $T/share is a shared directory. Do you want to continue? [y/n]Warning: stop all cluster services managed by ORV before you run orvconfig. Do you want to continue? [y/n]The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top/cshrc.tolvane or $T/top/profile.tolvane again.
  +++ share/kernel/conf/ResourceGroups.xml share/kernel/conf/orv.cluster.cluster1 share/kernel/conf/orv.conf share/kernel/conf/orv.shared share/kernel/conf/services/profiles/default.conf share/kernel/conf/services/rs.xml share/kirn/conf/deploy/cluster.xml share/kirn/conf/profile.kirn share/vos/conf/vos.conf top/kernel/conf/cshrc.orv top/kernel/conf/orv.conf top/kernel/conf/profile.orv top/kirn/conf/profile.kirn top/vos/conf/cshrc.vos top/vos/conf/profile.vos
  $ grep -h 'ENVDIR=\|CONFDIR=' "$SHARE/vos/conf/vos.conf" "$TOP/vos/conf/profile.vos" "$TOP/kirn/conf/profile.kirn" | orv_paths
  VOS_ORV_ENVDIR=$T/share/kernel/conf
  VOS_ENVDIR=$T/share/vos/conf
  KIRN_CONFDIR=$T/share/kirn/conf
  $ fixture master; ANSWERS="Y y n" each mghost "$SHARE"; each mghost "$SHARE"
  mghost $T/share: This host will use configuration files on a shared directory. Make sure that $T/share is a shared directory. Do you want to continue? [y/n]This host will use configuration files on a shared directory. Make sure that $T/share is a shared directory. Do you want to continue? [y/n]Warning: stop all cluster services managed by ORV before you run orvconfig. Do you want to continue? [y/n]No changes. This host uses a local configuration directory. | Command failed. [255]
  mghost $T/share: This host will use configuration files on a shared directory. Make sure that $T/share is a shared directory. Do you want to continue? [y/n]No changes. This host uses a local configuration directory. | Command failed. [255]

A candidate after the master runs only mgupdate.txt and joins as (linux mg); before: refused.

  $ fixture master; orvx mghost "$SHARE" -f >/dev/null; mg_setup_candidate hostB; each mghost "$SHARE -f" | names; grep hostB "$SHARE/kernel/conf/orv.cluster.cluster1"
  mghost $T/share -f: The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top-hostB/cshrc.tolvane or $T/top-hostB/profile.tolvane again. [0]
  +++ share/kernel/conf/orv.cluster.cluster1 top-hostB/kernel/conf/cshrc.orv top-hostB/kernel/conf/orv.conf top-hostB/kernel/conf/profile.orv
  hostB     !        !            1     -    -    -   (linux mg)
  $ fixture master; mg_setup_candidate hostB; each mghost "$SHARE -f"
  mghost $T/share -f: The shared directory path was not found. Ensure that: (1) <orvconfig mghost> has been run on the Master Host; and (2) the correct shared directory path is used. | Command failed. [255]

On a local directory: a relative path, vos, kirn and zt refused; not an administrator.

  $ fixture master; mg_add_vos; mg_add_kirn; mg_add_zt; each mghost 'share -f' 'vos -f' 'kirn -f' 'zt -f'
  mghost share -f:  You must input the absolute path to the shared directory.  | Command failed. [255]
  mghost vos -f: Please run orvconfig mghost SHARED_TOP [-f] firstly | Command failed. [255]
  mghost kirn -f: Please run orvconfig mghost SHARED_TOP [-f] firstly | Command failed. [255]
  mghost zt -f:  You must input the absolute path to the shared directory.  | Command failed. [255]
  $ sed -i 's/^Administrators = .*/Administrators = root/' "$CONF/orv.cluster.cluster1"; each mghost "$SHARE -f"
  mghost $T/share -f: You must be cluster administrator [root] to use orvconfig. | Command failed. [255]

On a shared directory: no other one, the same redone; products (not listed, n, on a candidate).

  $ fixture master; mg_share_master; each mghost "$T/other -f" 'relative/top -f'
  mghost $T/other -f: You cannot change the shared configuration directory. | Command failed. [255]
  mghost relative/top -f: You cannot change the shared configuration directory. | Command failed. [255]
  $ orv mghost "$SHARE/" -f | names
  The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top/cshrc.tolvane or $T/top/profile.tolvane again.
  +++ share/kernel/conf/orv.conf
  $ each mghost 'vos -f' 'kirn -f' 'zt -f'
  mghost vos -f: Cannot find VOS installed | Command failed. [255]
  mghost kirn -f: Cannot find kirn installed | Command failed. [255]
  mghost zt -f: Cannot find Tessary Analytics installed | Command failed. [255]
  $ mg_add_vos; mg_add_kirn; mg_add_zt; each mghost vos; each mghost 'vos -f' 'kirn -f' | names; each mghost 'zt -f' | grep -v '^[-@]'
  mghost vos: This host will use configuration files on a shared directory.  Do you want to continue? [y/n]No changes. This host uses a local configuration directory. | Command failed. [255]
  mghost vos -f: The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top/cshrc.tolvane or $T/top/profile.tolvane again. [0]
  +++ share/vos/conf/vos.conf top/vos/conf/cshrc.vos top/vos/conf/profile.vos
  mghost kirn -f: The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top/cshrc.tolvane or $T/top/profile.tolvane again. [0]
  +++ share/kirn/conf/deploy/cluster.xml share/kirn/conf/profile.kirn top/kirn/conf/profile.kirn
  mghost zt -f: Successful! [0]
  +++ share/zt/conf/zt.conf
  +retention=30
  +++ zt/conf/profile.zt
  +ZT_CONFDIR=$T/share/zt/conf
  $ fixture master; mg_share_master; mg_setup_candidate hostB; mg_add_vos "$CTOP"; each mghost 'vos -f'
  mghost vos -f: Please run orvconfig mghost SHARED_TOP [-f] firstly | Command failed. [255]

head.conf: bad lines passed over, a trailing comment and empty fields dropped; none at all.

  $ fixture master; mg_share_master; mg_add_vos; sed -i '$d' "$TOP/.install/head.conf"
  $ printf '%s\n' "VOS old;vos;$T/missing" "VOSX;vosx;$TOP/vos" 'VOS short;vos' '' "VOS long;vos;$TOP/vos;extra" "#VOS 10.1;vos;$TOP/vos" "\"VOS#10\";vos;$TOP/vos" >>"$TOP/.install/head.conf"
  $ each mghost 'vos -f'
  mghost vos -f: Cannot find VOS installed | Command failed. [255]
  $ echo ";VOS 10.1;;vos;$TOP/vos   # moved in 10.1" >>"$TOP/.install/head.conf"; orv mghost vos -f | names
  The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top/cshrc.tolvane or $T/top/profile.tolvane again.
  +++ share/vos/conf/vos.conf top/vos/conf/cshrc.vos top/vos/conf/profile.vos
  $ fixture master; rm "$TOP/.install/head.conf"; orv mghost "$SHARE" -f | grep -v '^[-+@]'
  Cannot open the file head.conf.
  Cannot open the file head.conf.
  The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top/cshrc.tolvane or $T/top/profile.tolvane again.

No .install, a script missing, a link at a copy's path, a link back up a copied tree, no ORV_TOP.

  $ fixture master; rm -r "$TOP/.install"; each mghost "$SHARE -f"
  mghost $T/share -f: Warning: Cannot find the .install configuration, the old version will be running | Command failed. [255]
  $ fixture master; rm "$TOP/.install/mgmasterupdate.txt"; each mghost "$SHARE -f" | names
  mghost $T/share -f: Cannot open the file $T/top/.install/mgmasterupdate.txt. | Cannot open the file $T/top/.install/mgmasterupdate.txt.tmp. | Error when disposing the config files | Command failed. [255]
  +++ share/kernel/conf/ResourceGroups.xml share/kernel/conf/orv.cluster.cluster1 share/kernel/conf/orv.conf share/kernel/conf/orv.shared share/kernel/conf/services/profiles/default.conf share/kernel/conf/services/rs.xml
  $ fixture master; orvx mghost "$SHARE" -f >/dev/null; mg_setup_candidate hostB; rm "$CTOP/.install/mgupdate.txt"; each mghost "$SHARE -f"
  mghost $T/share -f: Cannot open the file $T/top-hostB/.install/mgupdate.txt. | Cannot open the file $T/top-hostB/.install/mgupdate.txt.tmp. | Error when disposing the config files | Command failed. [255]
  $ fixture master; ln -s "$T/planted" "$TOP/.install/mgconf.txt.tmp"; orv mghost "$SHARE" -f | grep -v '^[-+@]'; test ! -e "$T/planted" && ls "$TOP/.install" | paste -sd" "
  The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top/cshrc.tolvane or $T/top/profile.tolvane again.
  diff: $T/top/.install/mgconf.txt.tmp: No such file or directory
  head.conf mgconf.txt mgmasterupdate.txt mgupdate.txt
  $ fixture master; ln -s .. "$CONF/services/loop"; each mghost "$SHARE -f" | grep -v '^[-+@]'
  mghost $T/share -f: Cannot make the directory $T/share/kernel/conf/services/loop/services,error number 40 | The shared configuration directory is $T/share/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top/cshrc.tolvane or $T/top/profile.tolvane again. [0]
  $ fixture master; ORV_UNSET=ORV_TOP each mghost "$SHARE -f"
  mghost $T/share -f: The cluster configuration directory cannot be found because the environment variable ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig. | Command failed. [255]
