Installation and the packages, from the build directory of the binary under test: the .deb
checked by lintian, the .rpm by rpmlint, the Ansible collection built, installed and
rendered by ansible-doc. HOME is the test's own, and rpmbuild's scripts go to a directory of
the test's (not /var/tmp): the tools write nothing outside the test's tree.

  $ B=${ORV_BUILD_DIR:?}; [ -x "$B/orvconfig" ] || exit 80
  $ command -v cpack dpkg-deb dpkg-shlibdeps lintian rpmbuild rpmlint rpm2cpio cpio ansible-galaxy >/dev/null || exit 80
  $ S=$ORV_SOURCE_DIR; v=$(sed -n 's/^project(orvconfig VERSION \([0-9.]*\).*/\1/p' "$S/CMakeLists.txt"); a=$(dpkg --print-architecture); m=$(uname -m)
  $ export HOME=$PWD/home ASAN_OPTIONS=detect_leaks=0; mkdir -p home rpmtmp; echo "%_tmppath $PWD/rpmtmp" >home/.rpmmacros
  $ same() { cmp "$1/bin/orvconfig" "$2" && gzip -9nc "$S/docs/orvconfig.1" | cmp - "$1/share/man/man1/orvconfig.1.gz" && cmp "$1/share/bash-completion/completions/orvconfig" "$S/completion/orvconfig" && echo same; }
  $ banner() { "$1" -V 2>&1; echo "exit $?"; }

cmake --install puts exactly the three files under DESTDIR, for any prefix; the manual page
compressed by gzip -9n (no name, no time: the same page gives the same bytes).

  $ for p in /usr /opt/orv/1.2 "/srv/with blank"; do DESTDIR=$PWD/r cmake --install "$B" --prefix "$p" >/dev/null; echo "$p: $(cd "r$p" && find . ! -type d | sort | paste -sd' ') $(same "r$p" "$B/orvconfig") $(find r ! -type d | wc -l)"; rm -r r; done
  /usr: ./bin/orvconfig ./share/bash-completion/completions/orvconfig ./share/man/man1/orvconfig.1.gz same 3
  /opt/orv/1.2: ./bin/orvconfig ./share/bash-completion/completions/orvconfig ./share/man/man1/orvconfig.1.gz same 3
  /srv/with blank: ./bin/orvconfig ./share/bash-completion/completions/orvconfig ./share/man/man1/orvconfig.1.gz same 3

The .deb: the three files (the binary stripped, without .comment), the copyright file and the changelog; its
control fields, Depends computed.

  $ cpack -G DEB --config "$B/CPackConfig.cmake" -B "$PWD/pkg" >/dev/null 2>&1; deb=pkg/orvconfig_${v}_$a.deb; dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $1, $6}'
  -rwxr-xr-x ./usr/bin/orvconfig
  -rw-r--r-- ./usr/share/bash-completion/completions/orvconfig
  -rw-r--r-- ./usr/share/doc/orvconfig/changelog.gz
  -rw-r--r-- ./usr/share/doc/orvconfig/copyright
  -rw-r--r-- ./usr/share/man/man1/orvconfig.1.gz
  $ dpkg-deb -f "$deb" Package Version Section Maintainer Architecture | sed "s/ $v$/ VERSION/; s/ $a$/ ARCH/" | paste -sd'|'
  Package: orvconfig|Version: VERSION|Section: admin|Maintainer: orvconfig maintainers <orvconfig@example.org>|Architecture: ARCH
  $ dpkg -I "$deb" | grep -E '^ (Depends: (.*, )?libc6( \(>= [0-9.]+\))?(,|$)|Description:)|contacts a daemon' | sed 's/^ Depends: .*/ Depends: libc6 .../'
   Depends: libc6 ...
   Description: Configure one host of an ORV compute cluster by editing its configuration files
    contacts a daemon.

lintian: no error, no warning (nothing printed, exit 0; as root it notes that on standard error).

  $ lintian --fail-on error,warning "$deb" 2>&1 | grep -v '^running with root privileges is not recommended!$'; echo "lintian: exit ${PIPESTATUS[0]}"
  lintian: exit 0

Unpacked: the files are the installed ones; the copyright file is machine-readable and
carries LICENSE's terms; the changelog is NEWS, whose newest entry is this version; the
binary runs.

  $ dpkg-deb -x "$deb" x; strip --remove-section=.comment -o stripped "$B/orvconfig"; same x/usr stripped; file -b x/usr/bin/orvconfig | grep -o 'ELF.*, stripped$' | cut -c1-3
  same
  ELF
  $ c=x/usr/share/doc/orvconfig/copyright; grep -E '^[A-Z][A-Za-z-]*:' "$c"
  Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
  Upstream-Name: orvconfig
  Upstream-Contact: orvconfig maintainers <orvconfig@example.org>
  Source: https://orvconfig.example.org/
  Files: *
  Copyright: 2013 the orvconfig authors
  License: BSD-3-Clause
  License: BSD-3-Clause
  $ sed '1,/^$/d' "$S/LICENSE" | cmp - <(tac "$c" | sed '/^License:/q' | tac | sed '1d; s/^ \.$//; s/^ //') && head -1 "$S/LICENSE"
  Copyright (C) 2013 the orvconfig authors. All rights reserved.
  $ gzip -9nc "$S/NEWS" | cmp - x/usr/share/doc/orvconfig/changelog.gz && dpkg-parsechangelog -l "$S/NEWS" -S Version | sed "s/^$v$/VERSION/"
  VERSION
  $ x/usr/bin/orvconfig -h | grep '^Usage: orvconfig subcommand'; banner x/usr/bin/orvconfig
  Usage: orvconfig subcommand [options]
  ORV 1.2.7.0 build 213132, Feb 27 2013
  Copyright (C) 2013 the orvconfig authors.
  All rights reserved.
  
  binary type: linux2.6-glibc2.3-x86_64
  exit 0

The .rpm, named name-version-release.arch: its tags, its files (no directory of the system or
of bash-completion owned; the manual page compressed by bzip2, the extension rpmlint checks
for), a changelog made of NEWS, description lines of at most 79 characters.

  $ cpack -G RPM --config "$B/CPackConfig.cmake" -B "$PWD/pkg" >/dev/null 2>&1; rpm=pkg/orvconfig-$v-1.$m.rpm; q() { rpm --dbpath "$PWD/rpmdb" -qp "$@" "$rpm"; }
  $ q --qf '%{NAME}|%{VERSION}|%{RELEASE}|%{ARCH}|%{LICENSE}|%{GROUP}|%{URL}|%{PACKAGER}\n' | sed "s/|$v|/|VERSION|/; s/|$m|/|ARCH|/"
  orvconfig|VERSION|1|ARCH|BSD-3-Clause|Applications/System|https://orvconfig.example.org/|orvconfig maintainers <orvconfig@example.org>
  $ q --qf '%{SUMMARY}\n%{DESCRIPTION}\n' | awk 'length > 79 {n++} END {print NR " lines, " n+0 " longer than 79"}'; q --qf '%{DESCRIPTION}\n' | tail -1
  7 lines, 0 longer than 79
  contacts a daemon.
  $ q --qf '[%{FILEMODES:perms} %{FILENAMES}\n]' | grep -v '^[^ ]* /usr/lib/.build-id'
  -rwxr-xr-x /usr/bin/orvconfig
  -rw-r--r-- /usr/share/bash-completion/completions/orvconfig
  drwxr-xr-x /usr/share/licenses/orvconfig
  -rw-r--r-- /usr/share/licenses/orvconfig/LICENSE
  -rw-r--r-- /usr/share/man/man1/orvconfig.1.bz2
  $ q --qf '[%{CHANGELOGNAME}\n]' | sed "s/ - $v-1$/ - VERSION-1/"; q --changelog | grep -c '^\* '; grep -c '^orvconfig (' "$S/NEWS"
  orvconfig maintainers <orvconfig@example.org> - VERSION-1
  1
  1

rpmlint (with cmake/rpmlint.toml: the license list Debian's rpmlint lacks, and one wrong
check filtered): no error but no-signature, no warning.

  $ rpmlint -c "$S/cmake/rpmlint.toml" "$rpm" >out; echo "rpmlint: exit $?"; sed -n "/^orvconfig/p; s/; has taken [0-9.]* s *$//p" out | sed "s/^orvconfig\.$m:/orvconfig.ARCH:/"
  rpmlint: exit 64
  orvconfig.ARCH: E: no-signature
   1 packages and 0 specfiles checked; 1 errors, 0 warnings, 1 badness

Unpacked: the same binary and completion, the page and LICENSE; the binary runs.

  $ mkdir y; rpm2cpio "$rpm" | (cd y && cpio -idm --quiet); cmp y/usr/bin/orvconfig x/usr/bin/orvconfig; bzip2 -dc y/usr/share/man/man1/orvconfig.1.bz2 | cmp - "$S/docs/orvconfig.1"; cmp y/usr/share/licenses/orvconfig/LICENSE "$S/LICENSE"; cmp y/usr/share/bash-completion/completions/orvconfig "$S/completion/orvconfig"
  $ banner y/usr/bin/orvconfig | head -1
  ORV 1.2.7.0 build 213132, Feb 27 2013

The Ansible collection orvconfig.cluster, of this version: built offline, installed into a
path of the test's own, its module rendered by its full name.

  $ export ANSIBLE_HOME=$PWD/ansible ANSIBLE_COLLECTIONS_PATH=$PWD/collections ANSIBLE_NOCOLOR=1
  $ ansible-galaxy collection build "$S/contrib/ansible" --output-path built | sed "s|$PWD/||; s/-$v\.tar/-VERSION.tar/"
  Created collection for orvconfig.cluster at built/orvconfig-cluster-VERSION.tar.gz
  $ tar -tzf built/orvconfig-cluster-$v.tar.gz | sort | paste -sd' '
  FILES.json LICENSE MANIFEST.json README.md meta/ meta/runtime.yml plugins/ plugins/modules/ plugins/modules/orvconfig.py
  $ ansible-galaxy collection install built/orvconfig-cluster-$v.tar.gz -p collections | sed "s|$PWD/||; s/:$v\b/:VERSION/"
  Starting galaxy collection install process
  Process install dependency map
  Starting collection install process
  Installing 'orvconfig.cluster:VERSION' to 'collections/ansible_collections/orvconfig/cluster'
  orvconfig.cluster:VERSION was installed successfully
  $ i=collections/ansible_collections/orvconfig/cluster; cmp $i/plugins/modules/orvconfig.py "$S/contrib/ansible/plugins/modules/orvconfig.py" && cmp $i/LICENSE "$S/LICENSE" && echo same
  same
  $ ansible-doc -t module orvconfig.cluster.orvconfig | sed -n "s|^> \([A-Z.]*\) *($PWD/\(.*\))$|\1 \2|p"
  ORVCONFIG.CLUSTER.ORVCONFIG collections/ansible_collections/orvconfig/cluster/plugins/modules/orvconfig.py
