#!/usr/bin/env bats
# Installation and the Debian package, made from the build directory that holds the
# binary under test (ORV_BUILD_DIR, or the directory of $ORVCONFIG): nothing is
# compiled here, so the suite takes seconds.

load helpers
bats_require_minimum_version 1.5.0

# The three files that an installation consists of, relative to the prefix.
INSTALLED_FILES="bin/orvconfig
share/bash-completion/completions/orvconfig
share/man/man1/orvconfig.1"

setup_file() {
    export SRC=${ORV_SOURCE_DIR:-$BATS_TEST_DIRNAME/../..}
    local build=${ORV_BUILD_DIR:-}
    if [ -z "$build" ] && [ -n "${ORVCONFIG:-}" ] && [ -f "$(dirname "$ORVCONFIG")/CMakeCache.txt" ]; then
        build=$(dirname "$ORVCONFIG")
    fi
    export BUILD=$build
    export VERSION
    VERSION=$(sed -n 's/^project(orvconfig VERSION \([0-9.]*\).*/\1/p' "$SRC/CMakeLists.txt")
}

require_build() {
    if [ -z "$BUILD" ] || [ ! -f "$BUILD/CMakeCache.txt" ]; then
        skip "no build directory (set ORV_BUILD_DIR)"
    fi
    [ -x "$BUILD/orvconfig" ] || skip "the build directory holds no orvconfig binary"
}

# Makes the .deb once per run of the suite and prints its path.
deb_package() {
    require_build
    command -v cpack >/dev/null || skip "cpack is not installed"
    command -v dpkg-deb >/dev/null || skip "dpkg-deb is not installed"
    command -v dpkg-shlibdeps >/dev/null || skip "dpkg-shlibdeps (dpkg-dev) is not installed"
    local out=$BATS_FILE_TMPDIR/pkg
    local deb
    deb=$out/orvconfig_${VERSION}_$(dpkg --print-architecture).deb
    if [ ! -f "$deb" ]; then
        cpack -G DEB --config "$BUILD/CPackConfig.cmake" -B "$out" >"$out.log" 2>&1 ||
            { cat "$out.log" >&2; return 1; }
    fi
    [ -f "$deb" ] || { ls -l "$out" >&2; return 1; }
    printf '%s\n' "$deb"
}

@test "cmake --install puts exactly the three files under DESTDIR, for any prefix" {
    require_build
    local prefix root
    for prefix in /usr /opt/orv/1.2 "/srv/with blank"; do
        root=$BATS_TEST_TMPDIR/root$RANDOM
        run env DESTDIR="$root" cmake --install "$BUILD" --prefix "$prefix"
        [ "$status" -eq 0 ]
        output=$(cd "$root$prefix" && find . -type f -o -type l | sed 's|^\./||' | LC_ALL=C sort)
        expect_output <<<"$INSTALLED_FILES"
        # Nothing outside the prefix.
        [ "$(find "$root" -type f | wc -l)" -eq 3 ]
        cmp "$SRC/docs/orvconfig.1" "$root$prefix/share/man/man1/orvconfig.1"
        cmp "$SRC/completion/orvconfig" "$root$prefix/share/bash-completion/completions/orvconfig"
        cmp "$BUILD/orvconfig" "$root$prefix/bin/orvconfig"
        [ -x "$root$prefix/bin/orvconfig" ]
    done
}

@test "the package holds exactly the binary, the man page and the completion" {
    local deb
    deb=$(deb_package)
    run dpkg-deb -c "$deb"
    [ "$status" -eq 0 ]
    output=$(printf '%s\n' "$output" | awk '$1 !~ /^d/ {print substr($1, 1, 1), $6}' | LC_ALL=C sort)
    expect_output <<'EOF'
- ./usr/bin/orvconfig
- ./usr/share/bash-completion/completions/orvconfig
- ./usr/share/man/man1/orvconfig.1
EOF
}

@test "the control file names the package, version, section, maintainer and dependencies" {
    local deb
    deb=$(deb_package)
    run dpkg-deb -f "$deb" Package Version Section Maintainer Architecture
    [ "$status" -eq 0 ]
    expect_output <<EOF
Package: orvconfig
Version: $VERSION
Section: admin
Maintainer: orvconfig maintainers <orvconfig@example.org>
Architecture: $(dpkg --print-architecture)
EOF
    # dpkg -I shows the same fields; Depends was computed from the binary.
    run dpkg -I "$deb"
    [ "$status" -eq 0 ]
    printf '%s\n' "$output" | grep -qx ' Section: admin'
    printf '%s\n' "$output" | grep -qx ' Maintainer: orvconfig maintainers <orvconfig@example.org>'
    printf '%s\n' "$output" | grep -qE '^ Depends: (.*, )?libc6( \(>= [0-9.]+\))?(,|$)'
    printf '%s\n' "$output" |
        grep -qx ' Description: Configure one host of an ORV compute cluster by editing its configuration files'
    printf '%s\n' "$output" | grep -qx '  contacts a daemon.'
}

@test "the packaged files are the sources and the built binary, stripped" {
    local deb root
    deb=$(deb_package)
    root=$BATS_TEST_TMPDIR/x
    dpkg-deb -x "$deb" "$root"
    cmp "$SRC/docs/orvconfig.1" "$root/usr/share/man/man1/orvconfig.1"
    cmp "$SRC/completion/orvconfig" "$root/usr/share/bash-completion/completions/orvconfig"
    [ "$(stat -c %a "$root/usr/bin/orvconfig")" = 755 ]
    [ "$(stat -c %a "$root/usr/share/man/man1/orvconfig.1")" = 644 ]
    if command -v file >/dev/null; then
        run file -b "$root/usr/bin/orvconfig"
        [[ $output == *ELF*", stripped"* ]]
    fi
    # The stripped binary still runs.
    run env ASAN_OPTIONS=detect_leaks=0 "$root/usr/bin/orvconfig" -h
    [ "$status" -eq 0 ]
    [[ ${lines[0]} == "Usage: orvconfig subcommand [options]" ]]
}
