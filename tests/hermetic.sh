#!/bin/sh
# hermetic.sh COMMAND [ARG...]: runs COMMAND in a network namespace of its own that holds
# only the loopback interface, so that no name lookup of a test or bench can leave the
# machine: a lookup that falls through to the real resolver (nss_wrapper's host table full,
# a name missing from it) fails at once instead of waiting on a name server. Loopback is
# brought up (a new namespace starts with it down), since the port tests bind real sockets.
# Where the machine allows no namespace (not root, no unshare or ip), COMMAND runs as it is,
# with a note on standard error. ORV_HERMETIC tells COMMAND which: "inside" or "no".
set -eu
[ $# -gt 0 ] || { echo "usage: hermetic.sh COMMAND [ARG...]" >&2; exit 2; }
case ${ORV_HERMETIC:-} in
    enter) ip link set lo up && ORV_HERMETIC=inside exec "$@" ;;
    inside | no) exec "$@" ;;  # already decided by an outer call
esac
if unshare -n ip link set lo up 2>/dev/null; then
    ORV_HERMETIC=enter exec unshare -n "$0" "$@"
fi
echo "hermetic.sh: no network namespace can be made here; $1 runs on the machine's network" >&2
ORV_HERMETIC=no exec "$@"
