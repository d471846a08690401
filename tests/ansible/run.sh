#!/bin/bash
# The Ansible module on three simulated hosts (local connection, each host's identity and
# directories from the inventory): check mode predicts the changes and writes nothing,
# the real run makes the same changes, a repeat changes nothing.
#   ORVCONFIG=build/orvconfig tests/ansible/run.sh
set -euo pipefail
HERE=$(cd "$(dirname "$0")" && pwd)
command -v ansible-playbook >/dev/null || { echo "ansible-core is not installed"; exit 77; }
W=$(mktemp -d)
trap 'rm -rf "$W"' EXIT
# shellcheck source=../cli/helpers.bash
source "$HERE/../cli/helpers.bash"
[ -n "$NSS_WRAPPER_LIB" ] || { echo "libnss-wrapper is not installed"; exit 77; }

{
    echo "cluster:"
    echo "  hosts:"
    for host in hostA hostB hostC; do
        BATS_TEST_TMPDIR=$W/$host
        orv_setup_tree
        ORV_HOSTNAME=$host
        echo "    $host:"
        echo "      orv_env:"
        orv_env | grep -v '^ASAN_OPTIONS=' | sed 's/^\([^=]*\)=\(.*\)$/        \1: "\2"/'
        echo "        ASAN_OPTIONS: detect_leaks=0:verify_asan_link_order=0"
    done
    echo "  vars:"
    echo "    ansible_connection: local"
    echo "    ansible_python_interpreter: /usr/bin/python3"
    echo "    orvconfig: $ORVCONFIG"
    echo "    base_port: $(orv_free_base 12)"
} >"$W/inventory.yml"

export ANSIBLE_LIBRARY=$HERE/../../contrib/ansible/plugins/modules
export ANSIBLE_NOCOLOR=1 ANSIBLE_LOCALHOST_WARNING=0 ANSIBLE_HOME=$W/ansible

state() { (cd "$W" && find host? -printf "%p %s %T@\n" | LC_ALL=C sort); }

# play ARGS...: runs the playbook and prints each host's "changed" and "failed" counts.
play() {
    ansible-playbook -i "$W/inventory.yml" "$HERE/playbook.yml" "$@" >"$W/out" || true
    sed -n 's/^\(host[A-C]\) *: .* changed=\([0-9]*\) .* failed=\([0-9]*\) .*/\1 changed=\2 failed=\3/p' "$W/out"
}

expect() {
    if [ "$1" != "$2" ]; then
        printf 'expected:\n%s\ngot:\n%s\n' "$2" "$1"
        exit 1
    fi
}

before=$(state)
changed="hostA changed=1 failed=0
hostB changed=1 failed=0
hostC changed=1 failed=0"
expect "$(play --check --diff)" "$changed"
expect "$(state)" "$before"
# The diffs shown: the tag line added on each compute host, the new ports on the master.
expect "$(grep -c '^+ORV_LOCAL_RESOURCES="\[resource scvg\]"$' "$W/out")" 2
expect "$(grep -c '^+ORV_LIM_PORT=' "$W/out")" 1
expect "$(play)" "$changed"
grep -qx 'ORV_LOCAL_RESOURCES="\[resource scvg\]"' "$W/hostB/t/top/kernel/conf/orv.conf"
expect "$(play --diff)" "hostA changed=0 failed=0
hostB changed=0 failed=0
hostC changed=0 failed=0"
echo "ansible: check mode, real run and repeat as expected"
