#!/usr/bin/env bash
# Starts a server on an example card, with a throw-away key, and shows the command that talks to it: try.sh GPON_TWIN EXAMPLE
set -euo pipefail
program=$1
example=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
ssh-keygen -q -t ed25519 -N '' -C 'thrown away with the server' -f "$folder/key"
install -m 600 /dev/null "$folder/authorized_keys"
echo "name=\"admin\",role=\"admin\" $(< "$folder/key.pub")" > "$folder/authorized_keys"
"$program" --running "$example/running.xml" --card "$example/card.json" --ephemeral --port 0 \
    --keys "$folder/authorized_keys" --unix "$folder/netconf.sock" > "$folder/greeting" &
server=$!
trap 'kill "$server" 2>/dev/null; wait "$server" || true; rm -rf "$folder"' EXIT
trap 'exit 0' INT TERM
until [ -s "$folder/greeting" ]; do
    kill -0 "$server" || exit 1
    sleep 0.1
done
cat "$folder/greeting"
port=$(sed -n 's/.*SSH [^ ]* port \([0-9]*\).*/\1/p' "$folder/greeting")
cat <<END

What runs on the card, in Python (/usr/bin/python3, with python3-ncclient):

  from ncclient import manager
  with manager.connect(host="127.0.0.1", port=$port, username="admin", key_filename="$folder/key",
                       hostkey_verify=False, allow_agent=False, look_for_keys=False) as card:
      print(card.get_config("running").data_xml[:2000])

The session as it is, in a shell:

  ssh -p $port -i $folder/key -o UserKnownHostsFile=/dev/null admin@127.0.0.1 -s netconf

Ctrl-C ends the server.
END
wait "$server"
