Installation and the Debian package, from the build directory of the binary under test.

  $ B=${ORV_BUILD_DIR:?}; [ -x "$B/orvconfig" ] && command -v cpack dpkg-deb dpkg-shlibdeps >/dev/null || exit 80
  $ S=$ORV_SOURCE_DIR; v=$(sed -n 's/^project(orvconfig VERSION \([0-9.]*\).*/\1/p' "$S/CMakeLists.txt"); a=$(dpkg --print-architecture)
  $ same() { cmp "$1/bin/orvconfig" "$2" && cmp "$1/share/man/man1/orvconfig.1" "$S/docs/orvconfig.1" && cmp "$1/share/bash-completion/completions/orvconfig" "$S/completion/orvconfig" && echo same; }

cmake --install puts exactly the three files under DESTDIR, for any prefix.

  $ for p in /usr /opt/orv/1.2 "/srv/with blank"; do DESTDIR=$PWD/r cmake --install "$B" --prefix "$p" >/dev/null; echo "$p: $(cd "r$p" && find . ! -type d | sort | paste -sd' ') $(same "r$p" "$B/orvconfig") $(find r ! -type d | wc -l)"; rm -r r; done
  /usr: ./bin/orvconfig ./share/bash-completion/completions/orvconfig ./share/man/man1/orvconfig.1 same 3
  /opt/orv/1.2: ./bin/orvconfig ./share/bash-completion/completions/orvconfig ./share/man/man1/orvconfig.1 same 3
  /srv/with blank: ./bin/orvconfig ./share/bash-completion/completions/orvconfig ./share/man/man1/orvconfig.1 same 3

The package: the same three files (the binary stripped), its control fields, Depends computed.

  $ cpack -G DEB --config "$B/CPackConfig.cmake" -B "$PWD/pkg" >/dev/null 2>&1; deb=pkg/orvconfig_${v}_$a.deb; dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $1, $6}'
  -rwxr-xr-x ./usr/bin/orvconfig
  -rw-r--r-- ./usr/share/bash-completion/completions/orvconfig
  -rw-r--r-- ./usr/share/man/man1/orvconfig.1
  $ dpkg-deb -f "$deb" Package Version Section Maintainer Architecture | sed "s/ $v$/ VERSION/; s/ $a$/ ARCH/" | paste -sd'|'
  Package: orvconfig|Version: VERSION|Section: admin|Maintainer: orvconfig maintainers <orvconfig@example.org>|Architecture: ARCH
  $ dpkg -I "$deb" | grep -E '^ (Depends: (.*, )?libc6( \(>= [0-9.]+\))?(,|$)|Description:)|contacts a daemon' | sed 's/^ Depends: .*/ Depends: libc6 .../'
   Depends: libc6 ...
   Description: Configure one host of an ORV compute cluster by editing its configuration files
    contacts a daemon.
  $ dpkg-deb -x "$deb" x; strip -o stripped "$B/orvconfig"; same x/usr stripped; file -b x/usr/bin/orvconfig | grep -o 'ELF.*, stripped$' | cut -c1-3
  same
  ELF
  $ ASAN_OPTIONS=detect_leaks=0 x/usr/bin/orvconfig -h | grep '^Usage: orvconfig subcommand'
  Usage: orvconfig subcommand [options]
