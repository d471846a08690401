#!/bin/sh
# Installs every build and test dependency from Debian's packages when it is missing.
set -eu
PACKAGES="g++ clang cmake ninja-build libgtest-dev libnss-wrapper strace patch \
hyperfine libclang-rt-14-dev mandoc dpkg-dev file groff-base man-db python3 perl gcc util-linux \
clustershell ansible-core python3-cram shellcheck clang-format clang-tidy libdtl-dev iproute2 \
bzip2 lintian rpm rpmlint cpio"
missing=""
for p in $PACKAGES; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
if [ -n "$missing" ]; then
    echo "bootstrap: installing$missing"
    SUDO=""
    [ "$(id -u)" -eq 0 ] || SUDO=sudo
    $SUDO apt-get update -qq
    # shellcheck disable=SC2086 # $SUDO may be empty and $missing is a list of names
    DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends $missing
fi
