The Ansible module on three simulated hosts (the master's ports, a tag on the others): check
mode predicts the changes and writes nothing, the real run makes them, a repeat changes nothing.

  $ . "$TESTDIR/helpers.bash"; command -v ansible-playbook >/dev/null || skip "ansible is not installed"
  $ for h in hostA hostB hostC; do FIXTURE_DIR=$PWD/$h; orv_setup_tree; ORV_HOSTNAME=$h
  >   printf '    %s:\n      orv_env:\n' $h; orv_env |
  >   sed -e 's/^\(ASAN_OPTIONS=\).*/\1detect_leaks=0:verify_asan_link_order=0/' -e 's/^\([^=]*\)=\(.*\)$/        \1: "\2"/'; done >hosts.yml
  $ printf 'cluster:\n  hosts:\n%s\n  vars: {ansible_connection: local, ansible_python_interpreter: /usr/bin/python3, base_port: %s}\n' \
  >   "$(cat hosts.yml)" "$(orv_free_base 12)" >inventory.yml
  $ cat >playbook.yml <<'EOF'
  > - hosts: cluster
  >   gather_facts: false
  >   environment: "{{ orv_env }}"
  >   tasks:
  >     - orvconfig.cluster.orvconfig: {subcommand: setbaseport, args: ["{{ base_port }}"], binary: "{{ lookup('env', 'ORVCONFIG') }}"}
  >       when: inventory_hostname == "hostA"
  >     - orvconfig.cluster.orvconfig: {subcommand: addresourceattr, args: ["[resource scvg]"], binary: "{{ lookup('env', 'ORVCONFIG') }}"}
  >       when: inventory_hostname != "hostA"
  > EOF
  $ export ANSIBLE_COLLECTIONS_PATH=$PWD/collections ANSIBLE_NOCOLOR=1 ANSIBLE_LOCALHOST_WARNING=0 \
  >   ANSIBLE_HOME=$PWD/ansible HOME=$PWD/home

The module from the collection, built and installed here; its documentation renders by the
module's full name: its name, options and return values.

  $ ansible-galaxy collection build "$ORV_SOURCE_DIR/contrib/ansible" --output-path built >/dev/null &&
  >   ansible-galaxy collection install built/orvconfig-cluster-*.tar.gz -p collections | tail -1
  orvconfig.cluster:* was installed successfully (glob)
  $ ansible-doc -t module orvconfig.cluster.orvconfig | sed -n 's/^> \(ORVCONFIG.CLUSTER.ORVCONFIG\) .*/\1/p; s/^\([=-] [a-z]*\).*/\1/p' | paste -sd' '
  ORVCONFIG.CLUSTER.ORVCONFIG - args - binary = subcommand - name - name - name - cluster - counts - directories - files - findings - rc - role - stdout
  $ play() { ansible-playbook -i inventory.yml playbook.yml "$@" >out
  >   sed -n 's/^\(host[A-C]\) *: .* changed=\([0-9]*\) .* failed=\([0-9]*\) .*/\1 changed=\2 failed=\3/p' out | paste -sd' '; }
  $ state() { find host? -printf "%p %s %T@\n" | LC_ALL=C sort; }; state >before

The diffs shown: the tag line added on each compute host, the new ports on the master.

  $ play --check --diff; state | cmp - before; grep -c '^+ORV_LOCAL_RESOURCES="\[resource scvg\]"$' out; grep -c '^+ORV_LIM_PORT=' out
  hostA changed=1 failed=0 hostB changed=1 failed=0 hostC changed=1 failed=0
  2
  1
  $ play; grep -x 'ORV_LOCAL_RESOURCES="\[resource scvg\]"' hostB/t/top/kernel/conf/orv.conf; play --diff
  hostA changed=1 failed=0 hostB changed=1 failed=0 hostC changed=1 failed=0
  ORV_LOCAL_RESOURCES="[resource scvg]"
  hostA changed=0 failed=0 hostB changed=0 failed=0 hostC changed=0 failed=0

subcommand check: never changed, failed where there are errors, the findings returned as data
(hostA, the master, lists no management host; hostB and hostC are healthy compute hosts).

  $ sed -i 's/^ORV_MASTER_LIST=.*/ORV_MASTER_LIST="hostA"/' host?/t/top/kernel/conf/orv.conf; state >before
  $ printf '%s\n' '- hosts: cluster' '  gather_facts: false' '  environment: "{{ orv_env }}"' '  tasks:' \
  >   "    - orvconfig.cluster.orvconfig: {subcommand: check, binary: \"{{ lookup('env', 'ORVCONFIG') }}\"}" '      register: r' '      ignore_errors: true' \
  >   '    - debug: {msg: "{{ r.role }} {{ r.counts.errors }} {{ r.counts.warnings }} {{ r.findings | map(attribute=\"code\") | join(\",\") }}"}' >check.yml
  $ ansible-playbook -i inventory.yml check.yml >out; grep -o '"msg": "[^"]*"' out | sort; state | cmp - before
  >   sed -n 's/^\(host[A-C]\) *: .* changed=\([0-9]*\) .* failed=\([0-9]*\) .* ignored=\([0-9]*\).*/\1 changed=\2 failed=\3 ignored=\4/p' out | paste -sd' '
  "msg": "compute host 0 0 "
  "msg": "compute host 0 0 "
  "msg": "master host 1 0 masterlist.not-management-host"
  "msg": "orvconfig check found errors (1)"
  hostA changed=0 failed=0 ignored=1 hostB changed=0 failed=0 ignored=0 hostC changed=0 failed=0 ignored=0
