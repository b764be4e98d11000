#!/usr/bin/env bash
# Starts a twin with a throw-away key, tells how to talk to it, and waits until it is interrupted.
# Usage: try.sh GPON_TWIN CARD_FOLDER
set -euo pipefail

twin=$(realpath "$1")
card=$(realpath "$2")
state=$(mktemp -d)
trap 'rm -rf "$state"' EXIT

ssh-keygen -q -t ed25519 -N '' -C 'for a trial' -f "$state/key"
echo "name=\"admin\",role=\"admin\" $(cat "$state/key.pub")" > "$state/authorized_keys"
chmod 600 "$state/authorized_keys"

# Ctrl-C is for the twin, which ends in order; then this ends, too.
trap : INT
mkfifo "$state/said"
"$twin" --running "$card/running.xml" --card "$card/card.json" --state "$state" --port 0 > "$state/said" &
server=$!
exec 3< "$state/said"
read -r greeting <&3 || { echo "gpon-twin did not start" >&2; exit 1; }
port=$(sed -n 's/.* port \([0-9]*\).*/\1/p' <<< "$greeting")
cat <<END
$greeting

Talk to it from another shell (Ctrl-C here ends it):

  ssh -i $state/key -p $port -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null -s admin@127.0.0.1 netconf

  python3 -c 'from ncclient import manager; print(manager.connect(host="127.0.0.1", port=$port, username="admin",
      key_filename="$state/key", hostkey_verify=False).get_config("running", ("subtree",
      "<config xmlns=\"urn:olt:gpon:base\"><service-port><id>7</id></service-port></config>")))'

  $twin history --state $state
END
wait "$server" || wait "$server"
