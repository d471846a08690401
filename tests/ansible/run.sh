#!/bin/bash
# The Ansible module on three simulated hosts (local connection, each host's identity and
# directories from the inventory, playbook.yml: the master's ports, a tag on the others):
# check mode predicts the changes and writes nothing, the real run makes them, a repeat
# changes nothing.   ORVCONFIG=build/orvconfig tests/ansible/run.sh
set -euo pipefail
HERE=$(cd "$(dirname "$0")" && pwd) W=$(mktemp -d)
trap 'rm -rf "$W"' EXIT
source "$HERE/../cli/helpers.bash"
if ! command -v ansible-playbook >/dev/null || [ -z "$NSS_WRAPPER_LIB" ]; then echo "ansible-core or libnss-wrapper missing" && exit 77; fi
{
    printf 'cluster:\n  hosts:\n'
    for host in hostA hostB hostC; do
        BATS_TEST_TMPDIR=$W/$host && orv_setup_tree && ORV_HOSTNAME=$host
        printf '    %s:\n      orv_env:\n' "$host"
        orv_env | sed -e 's/^\(ASAN_OPTIONS=\).*/\1detect_leaks=0:verify_asan_link_order=0/' -e 's/^\([^=]*\)=\(.*\)$/        \1: "\2"/'
    done
    printf '  vars: {ansible_connection: local, ansible_python_interpreter: /usr/bin/python3, orvconfig: %s, base_port: %s}\n' \
        "$ORVCONFIG" "$(orv_free_base 12)"
} >"$W/inventory.yml"
export ANSIBLE_LIBRARY=$HERE/../../contrib/ansible/plugins/modules ANSIBLE_NOCOLOR=1 ANSIBLE_LOCALHOST_WARNING=0 ANSIBLE_HOME=$W/ansible
state() { (cd "$W" && find host? -printf "%p %s %T@\n" | LC_ALL=C sort); }
# play ARGS...: each host's "changed" and "failed" counts, on one line.
play() {
    ansible-playbook -i "$W/inventory.yml" "$HERE/playbook.yml" "$@" >"$W/out" || true
    sed -n 's/^\(host[A-C]\) *: .* changed=\([0-9]*\) .* failed=\([0-9]*\) .*/\1 changed=\2 failed=\3/p' "$W/out" | paste -sd' '
}
expect() { [ "$1" = "$2" ] || { printf 'expected: %s\ngot:      %s\n' "$2" "$1" && cat "$W/out" && exit 1; }; }
before=$(state)
expect "$(play --check --diff)" "hostA changed=1 failed=0 hostB changed=1 failed=0 hostC changed=1 failed=0"
expect "$(state)" "$before"
# The diffs shown: the tag line added on each compute host, the new ports on the master.
expect "$(grep -c '^+ORV_LOCAL_RESOURCES="\[resource scvg\]"$' "$W/out") $(grep -c '^+ORV_LIM_PORT=' "$W/out")" "2 1"
expect "$(play)" "hostA changed=1 failed=0 hostB changed=1 failed=0 hostC changed=1 failed=0"
grep -qx 'ORV_LOCAL_RESOURCES="\[resource scvg\]"' "$W/hostB/t/top/kernel/conf/orv.conf"
expect "$(play --diff)" "hostA changed=0 failed=0 hostB changed=0 failed=0 hostC changed=0 failed=0"
echo "ansible: check mode, real run and repeat as expected"
