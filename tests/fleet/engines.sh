#!/usr/bin/env bash
# examples/fleet/slurm.sh and parallel.sh on two nodes, which are loopback addresses of this machine: 200 generated
# cards on each engine, one worker killed in the middle, and the results are those of a serial run, byte for byte.
#
# usage: engines.sh BUILD SCRATCH
#
# Run as root, with Slurm, munge, GNU parallel, sshd and xsltproc installed. SCRATCH is emptied first, holds all state, and
# is left for who wants to see it. No service is running afterwards.
set -euo pipefail

cards=200
parts=4
nodes=(node1:127.0.0.2 node2:127.0.0.3)
ssh_port=20022
slurm_ports=(20817 20818 20819)

example=$(realpath "$(dirname "$(realpath "$0")")/../../examples/fleet")
PATH="$(realpath "$1/bin"):$PATH"
rm -rf "$2"
scratch=$(mkdir -p "$2" && realpath "$2")
cd "$scratch"
services=()

fail() {
    echo "engines: $*" >&2
    exit 1
}

stop_services() {
    local pid
    if [ -n "${SLURM_CONF:-}" ]; then
        scancel --user root 2>/dev/null && wait_for 30 queue_is_empty
        unset SLURM_CONF
    fi
    for pid in "${services[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    for pid in "${services[@]}"; do
        wait "$pid" 2>/dev/null || true
    done
    services=()
}
trap stop_services EXIT

# serve WORDS...: runs a service that stays in the foreground, and whose process is then known.
serve() {
    "$@" >>services.log 2>&1 &
    services+=($!)
}

# wait_for SECONDS WORDS...: until the words succeed.
wait_for() {
    local limit=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$limit" ] || fail "waited in vain for: $* (see $scratch/*.log)"
        sleep 0.1
    done
}

generate_cards() {
    local number
    for number in $(seq "$cards"); do
        mkdir -p "cards/$number"
        gpon-validate generate --links 1 --onus 8 --line-profiles 4 --bandwidth-profiles 4 --service-ports 8 \
            --seed "$number" -o "cards/$number/running.xml" --card "cards/$number/card.json"
        printf 'card-%s\tcards/%s/running.xml\tcards/%s/card.json\n' "$number" "$number" "$number"
    done >cards.tsv
    cp "$example/residential/move.xsl" .
    # So much that two such ONUs are too many for a link. The pause makes sure that there is a middle in which a worker can be killed.
    options=(--edit-command 'sleep 0.05; xsltproc --stringparam from line-001 --param assured 640000 move.xsl {running}' --yes)
}

has_lines() {
    [ "$(wc -l <"$1")" -ge "$2" ]
}

# kill_one FOLDER: kills the program that works on the first shard, once that has begun.
kill_one() {
    wait_for 60 has_lines "$1/1.jsonl" 3
    local worker
    worker=$(pgrep --oldest --full "^gpon-validate fleet .*-o $1/1.jsonl ") || fail "$1: there is no worker to kill"
    kill -KILL "$worker"
    ! has_lines "$1/1.jsonl" $((cards / parts)) || fail "$1: the worker was killed too late"
}

# compare ENGINE FOLDER
compare() {
    local code=0
    gpon-validate fleet merge cards.tsv "$2"/*.jsonl -o "$2.jsonl" >"$2.summary" || code=$?
    [ "$code" -eq "$serial" ] || fail "$1: exit code $code instead of $serial: $(cat "$2.summary")"
    cmp serial.jsonl "$2.jsonl" || fail "$1: the results are others than those of a serial run"
    echo "$1: $cards cards in $parts shards on ${#nodes[@]} nodes, one worker killed: as a serial run."
}

start_sshd() {
    mkdir -p /run/sshd
    ssh-keygen -q -t ed25519 -N '' -f host_key
    ssh-keygen -q -t ed25519 -N '' -f user_key
    cp user_key.pub authorized_keys
    printf '%s\n' "HostKey $scratch/host_key" "AuthorizedKeysFile $scratch/authorized_keys" "UsePAM no" \
        "PermitRootLogin prohibit-password" "StrictModes no" "MaxStartups 100" "SetEnv PATH=$PATH" "PidFile none" >sshd_config
    printf '%s\n' "IdentityFile $scratch/user_key" "IdentitiesOnly yes" "UserKnownHostsFile $scratch/known_hosts" \
        "StrictHostKeyChecking accept-new" "Port $ssh_port" "LogLevel ERROR" >ssh_config
    for node in "${nodes[@]}"; do
        serve "$(command -v sshd)" -D -f sshd_config -o "ListenAddress=${node#*:}:$ssh_port"
        printf '%s\n' "Host ${node%:*}" "HostName ${node#*:}" >>ssh_config
    done
    for node in "${nodes[@]}"; do
        wait_for 20 ssh -F ssh_config "${node%:*}" true
    done
}

test_parallel() {
    start_sshd
    local machines
    machines=$(printf ',%s' "${nodes[@]%:*}")
    PARALLEL_SSH="ssh -F $scratch/ssh_config" "$example/parallel.sh" "${machines#,}" "$parts" cards.tsv by-parallel \
        "${options[@]}" >parallel.log 2>&1 &
    local job=$!
    kill_one by-parallel
    wait "$job" || fail "parallel.sh ended with exit code $?: $(cat parallel.log)"
    stop_services
    compare "GNU parallel" by-parallel
}

start_slurm() {
    mkdir -m 700 munge slurm
    mkdir -p /run/munge
    dd if=/dev/urandom of=munge/key bs=128 count=1 status=none
    chmod 600 munge/key
    serve "$(command -v munged)" --foreground --force --num-threads 4 --key-file munge/key --socket "$scratch/munge/socket" \
        --pid-file "$scratch/munge/pid" --log-file "$scratch/munge.log" --seed-file "$scratch/munge/seed"
    wait_for 20 munge --socket "$scratch/munge/socket" --no-input
    printf '%s\n' ClusterName=fleet "SlurmctldHost=localhost(127.0.0.1)" "SlurmctldPort=${slurm_ports[0]}" \
        SlurmUser=root SlurmdUser=root AuthType=auth/munge "AuthInfo=socket=$scratch/munge/socket" CredType=cred/munge \
        ProctrackType=proctrack/linuxproc TaskPlugin=task/none SelectType=select/cons_tres \
        "StateSaveLocation=$scratch/slurm" "SlurmdSpoolDir=$scratch/slurm/%n" "SlurmctldPidFile=$scratch/slurm/ctld.pid" \
        "SlurmdPidFile=$scratch/slurm/%n.pid" "SlurmctldLogFile=$scratch/slurmctld.log" "SlurmdLogFile=$scratch/%n.log" \
        ReturnToService=2 SlurmdParameters=config_overrides MpiDefault=none JobAcctGatherType=jobacct_gather/none >slurm.conf
    local node port=1
    for node in "${nodes[@]}"; do
        echo "NodeName=${node%:*} NodeHostname=$(hostname -s) NodeAddr=${node#*:} Port=${slurm_ports[port]} CPUs=1 State=UNKNOWN"
        port=$((port + 1))
    done >>slurm.conf
    echo "PartitionName=all Nodes=ALL Default=YES State=UP" >>slurm.conf
    export SLURM_CONF=$scratch/slurm.conf
    serve "$(command -v slurmctld)" -D -f "$SLURM_CONF"
    for node in "${nodes[@]}"; do
        serve "$(command -v slurmd)" -D -f "$SLURM_CONF" -N "${node%:*}"
    done
    wait_for 60 nodes_are_idle
}

nodes_are_idle() {
    [ "$(sinfo --noheader --Node --format %t | grep -c '^idle$')" -eq ${#nodes[@]} ]
}

queue_is_empty() {
    [ -z "$(squeue --noheader)" ]
}

test_slurm() {
    start_slurm
    sbatch --array="1-$parts" --output=slurm-%a.log "$example/slurm.sh" cards.tsv by-slurm "${options[@]}"
    kill_one by-slurm
    # What is requeued may wait two minutes before it begins again.
    wait_for 400 queue_is_empty
    stop_services
    compare Slurm by-slurm
}

[ "$(id -u)" -eq 0 ] || fail "run it as root: Slurm and sshd start work as other users"
generate_cards
serial=0
gpon-validate fleet cards.tsv "${options[@]}" --jobs 1 -o serial.jsonl || serial=$?
[ "$serial" -le 2 ] || fail "the serial run ended with exit code $serial"
test_parallel
test_slurm
