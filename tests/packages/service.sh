#!/usr/bin/env bash
# The service of gpon-twin under a systemd of its own, in the Debian that clean_system.sh has left: it starts without
# privileges, a commit is accepted, and a restart knows it.
#
# usage: service.sh SCRATCH       (as root: it boots a container)
set -euo pipefail

scratch=$(realpath "$1")
root=$scratch/root
card=$root/etc/gpon-twin/card1
example=$root/usr/share/doc/gpon-validate/examples/full-card
port=18830

fail() {
    echo "service: $*" >&2
    exit 1
}

[ "$(id -u)" -eq 0 ] || fail "a container can only be booted by root"
[ -d "$root" ] || fail "there is no $root: clean_system.sh makes it"
chroot "$root" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends systemd-sysv dbus \
    > "$scratch/service-install.log" 2>&1 || { tail -20 "$scratch/service-install.log" >&2; fail "systemd does not install: see above"; }

mkdir -p "$card"
cp "$example/running.xml" "$example/card.json" "$card/"
echo "PORT=$port" > "$card/environment"
rm -f "$scratch"/service_key*
ssh-keygen -q -t ed25519 -N '' -f "$scratch/service_key"
echo "name=\"eve\",role=\"admin\" $(cat "$scratch/service_key.pub")" > "$card/authorized_keys"
chroot "$root" systemctl enable --quiet gpon-twin@card1

systemd-nspawn -q -D "$root" --register=no --keep-unit --console=read-only -b > "$scratch/service-boot.log" 2>&1 &
container=$!
trap 'kill -TERM $container 2>/dev/null; wait $container 2>/dev/null || true' EXIT

# Bodies of RPCs, in one session.
ask() {
    local number=0 body
    {
        echo '<hello xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><capabilities>' \
            '<capability>urn:ietf:params:netconf:base:1.0</capability></capabilities></hello>]]>]]>'
        for body in "$@" '<close-session/>'; do
            echo "<rpc message-id=\"$((++number))\" xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\">$body</rpc>]]>]]>"
        done
    } | ssh -F none -p "$port" -i "$scratch/service_key" -o BatchMode=yes -o IdentitiesOnly=yes -o LogLevel=QUIET \
        -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null -s eve@127.0.0.1 netconf || true # ssh tells the end of the connection as a failure.
}

wait_until_served() {
    local try
    for try in $(seq 60); do
        ! ask 2>/dev/null | grep -q '<ok/>' || return 0
        sleep 1
    done
    tail -20 "$scratch/service-boot.log" >&2
    fail "the service does not answer after $try s: see above"
}

edit='<config xmlns="urn:olt:gpon:base"><interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>3</port-id>
    <onu><onu-id>5</onu-id><description>by the service</description></onu></gpon></interface></config>'
get='<get-config><source><running/></source><filter type="subtree"><config xmlns="urn:olt:gpon:base"><interface><gpon>
    <port-id>3</port-id><onu><onu-id>5</onu-id><description/></onu></gpon></interface></config></filter></get-config>'

wait_until_served
ask "<edit-config><target><candidate/></target><config>$edit</config></edit-config>" '<commit/>' > "$scratch/service-reply.xml"
[ "$(grep -o '<ok/>' "$scratch/service-reply.xml" | wc -l)" -eq 3 ] ||
    { cat "$scratch/service-reply.xml" >&2; fail "the commit is not accepted: see above"; }

# As the container's own processes see it: a user of its own, and nothing that it may do beyond that.
init=$(pgrep -P "$container" | head -1)
inside() {
    nsenter -t "$init" -a "$@"
}
status=/proc/$(inside systemctl show --property MainPID --value gpon-twin@card1)/status
inside grep -qE '^Uid:\s+0\s' "$status" && fail "the service runs as root"
inside grep -qE '^CapEff:\s+0+$' "$status" || fail "the service has capabilities"
inside systemctl restart gpon-twin@card1
wait_until_served
ask "$get" | grep -q '<description>by the service<' || fail "a restart has lost the commit"
inside systemctl stop gpon-twin@card1
[ "$(inside systemctl show --property Result --value gpon-twin@card1)" = success ] || fail "the service does not end as it should"
exposure=$(inside systemd-analyze security gpon-twin@card1 | sed -n 's/.*level for [^:]*: \([0-9.]*\).*/\1/p')
echo "service: started, committed, restarted and stopped under systemd; exposure ${exposure:-unknown} of 10"
