#!/usr/bin/env bats
# Many hosts at once: simulated hosts h01..h16 (each with its own identity and local
# configuration, one shared top) run orvconfig at the same moment through a parallel
# shell's local exec worker, as an administrator promoting a fleet would. Nothing may be
# lost, torn or reported done without being done.

load helpers

NODES='h[01-16]'
HEADER='HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords'
LINE_TAIL='!        !            1     -    -    -   '

setup() {
    command -v clush >/dev/null || skip "clustershell is not installed"
    mg_setup_master
    local n
    for n in $(seq -w 1 16); do
        echo "10.0.1.$((10#$n)) h$n.lab.local h$n" >>"$T/nss/hosts"
        mg_setup_candidate "h$n"
    done
    mg_setup_candidate hostD
    ORV_HOSTNAME=hostA ORV_TOP_DIR=$TOP ORV_CONFDIR_DIR=$CONF ORV_LOCAL_CONFDIR_DIR=$CONF
    run_orv mghost "$SHARE" -f
    [ "$status" -eq 0 ]
    SCONF=$SHARE/kernel/conf
    cp "$SCONF/orv.cluster.cluster1" "$T/cluster.master-only"
    # $T/as NODE CONFDIR ARGS...: one run as NODE (cNN nodes are all the compute host
    # hostD); its output, then its exit status, go to $T/runs/NODE.
    local -a envs
    mapfile -t envs < <(orv_env)
    mkdir -p "$T/runs"
    # shellcheck disable=SC2016 # the runner's own variables are written, not expanded
    {
        echo '#!/bin/bash'
        echo 'node=$1 conf=$2; shift 2; host=$node; [[ $node == c* ]] && host=hostD'
        printf 'env -i PATH=%q' "$PATH"
        printf ' %q' "${envs[@]}"
        printf ' ORVCONFIG_LOCK_WAIT="${ORVCONFIG_LOCK_WAIT:-60}" NSS_WRAPPER_HOSTNAME="$host"'
        printf ' ORV_TOP=%q/top-"$host" ORV_CONFDIR="$conf"' "$T"
        printf ' ORV_LOCAL_CONFDIR=%q/top-"$host"/kernel/conf %q "$@" </dev/null >%q/runs/"$node" 2>&1\n' \
            "$T" "$ORVCONFIG" "$T"
        printf 'echo "[$?]" >>%q/runs/"$node"\n' "$T"
    } >"$T/as"
    chmod +x "$T/as"
}

# fleet NODES CONFDIR ARGS...: every node of NODES runs at once.
fleet() {
    local nodes=$1 conf=$2
    shift 2
    clush -R exec -f 64 -w "$nodes" "$T/as %h $conf $*"
}

# expect_runs NODES: each node's output and status equal what `expected NODE` prints.
expect_runs() {
    local node bad=0
    for node in $(nodeset -e "$1"); do
        if [ "$(cat "$T/runs/$node")" != "$(expected "$node")" ]; then
            echo "--- $node printed:" >&2
            cat "$T/runs/$node" >&2
            bad=1
        fi
    done
    return $bad
}

# expect_master_only: the shared cluster file holds the master's host line alone.
expect_master_only() {
    printf '%s\n' 'Begin ClusterAdmins' 'Administrators = orvadmin' 'End ClusterAdmins' '' \
        'Begin Host' "$HEADER" "hostA     $LINE_TAIL(mg linux)" 'End Host' |
        expect_file "$SCONF/orv.cluster.cluster1"
}

# The lines of the given hosts as a candidate's promotion adds them, in any order.
promoted_lines_sorted() {
    local n
    for n in "$@"; do echo "$n       $LINE_TAIL(linux mg)"; done
}

@test "16 hosts promote themselves onto one shared top at once, 5 rounds: no line lost" {
    expected() {
        echo "The shared configuration directory is $SHARE/kernel/conf. You must reset your environment before you can run any more ORV commands. Source the environment $T/top-$1/cshrc.tolvane or $T/top-$1/profile.tolvane again."
        echo '[0]'
    }
    local round
    for round in 1 2 3 4 5; do
        cp "$T/cluster.master-only" "$SCONF/orv.cluster.cluster1"
        fleet "$NODES" "$T/top-%h/kernel/conf" mghost "$SHARE" -f
        expect_runs "$NODES"
        # Lines come in the order the runs took the lock: compare them sorted.
        sed -n '8,23p' "$SCONF/orv.cluster.cluster1" | sort >"$T/lines"
        # shellcheck disable=SC2046 # one argument per node
        promoted_lines_sorted $(nodeset -e "$NODES") | sort | expect_file "$T/lines"
        sed -i '8,23d' "$SCONF/orv.cluster.cluster1"
        expect_master_only
        expect_no_tmp "$T"
    done
}

@test "half the hosts leave while the others rewrite the master list and a host adds tags" {
    local n list
    fleet "$NODES" "$T/top-%h/kernel/conf" mghost "$SHARE" -f
    list=$(nodeset -e -S, "$NODES")
    ORV_CONFDIR_DIR=$SCONF run_orv masterlist "hostA,$list"
    [ "$status" -eq 0 ]
    local kept=h09,h10,h11,h12,h13,h14,h15,h16
    for n in $(seq 1 8); do
        fleet "h0$n" "$SCONF" unsetmghost -f &
        fleet "h$(printf %02d $((n + 8)))" "$SCONF" masterlist "hostA,$kept" &
        fleet "c0$n" "$T/top-hostD/kernel/conf" addresourceattr "'[resource t$n]'" &
    done
    wait
    expected() {
        local top
        top=$(cd "$T/top-$1" 2>/dev/null && pwd -P)
        case $1 in
            h0[1-8]) printf '%s\n' "The host will use configuration files on a local directory. You must reset your environment before you can run any more ORV commands. Source the environment $top/cshrc.tolvane or $top/profile.tolvane again." \
                "This host no longer uses the shared configuration directory.  This host cannot be used as a master candidate." ;;
            h*) echo "The master host failover order is hostA,$kept. To make changes take effect, restart ORV on the master host with the command orvsh orv restart." ;;
            c*) echo 'Add resource tag successfully.' ;;
        esac
        echo '[0]'
    }
    expect_runs "h[01-16],c[01-08]"
    sed -n '8,15p' "$SCONF/orv.cluster.cluster1" | sort >"$T/lines"
    promoted_lines_sorted h09 h10 h11 h12 h13 h14 h15 h16 | sort | expect_file "$T/lines"
    grep -qx "ORV_MASTER_LIST=\"hostA ${kept//,/ }\"" "$SCONF/orv.conf"
    grep -x 'ORV_LOCAL_RESOURCES=.*' "$T/top-hostD/kernel/conf/orv.conf" | grep -o 't[0-9]' | sort |
        paste -sd' ' | grep -qx 't1 t2 t3 t4 t5 t6 t7 t8'
    expect_no_tmp "$T"
}

@test "a lock held past the wait fails the run with the file named, and nothing more is written" {
    cp "$SCONF/orv.cluster.cluster1" "$T/before"
    python3 -c 'import fcntl, sys, time
f = open(sys.argv[1], "r+"); fcntl.lockf(f, fcntl.LOCK_EX); open(sys.argv[2], "w").close(); time.sleep(30)' \
        "$SCONF/orv.cluster.cluster1" "$T/held" 3>&- &
    local holder=$!
    until [ -e "$T/held" ]; do sleep 0.05; done
    ORVCONFIG_LOCK_WAIT=0.3 fleet h01 "$T/top-%h/kernel/conf" mghost "$SHARE" -f
    kill "$holder"
    expected() {
        printf '%s\n' "Timed out waiting for another run to release file $SCONF/orv.cluster.cluster1." '[255]'
    }
    expect_runs h01
    expect_file "$SCONF/orv.cluster.cluster1" <"$T/before"
    expect_no_tmp "$T"
}
