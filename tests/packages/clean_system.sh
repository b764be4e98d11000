#!/usr/bin/env bash
# The packages install on a bare Debian, and their programs run: the example is rejected as it should, a twin serves,
# man pages and completions are there, and a host finds the plug-in with pkg-config.
#
# usage: clean_system.sh PACKAGES SCRATCH       (as root: it makes a Debian in a folder)
#
# The Debian is that of the machine's own sources. SCRATCH/debian is kept for the next run, which works on a copy.
set -euo pipefail

packages=$(realpath "$1")
scratch=$(mkdir -p "$2" && realpath "$2")

fail() {
    echo "clean_system: $*" >&2
    exit 1
}

[ "$(id -u)" -eq 0 ] || fail "a Debian in a folder can only be made by root"

if [ ! -f "$scratch/debian/done" ]; then
    read -r site release < <(apt-get indextargets --format '$(SITE) $(RELEASE)' \
        'Created-By: Packages' 'Origin: Debian' | grep -E ' [a-z]+$' | sort -u | head -1) ||
        fail "apt-get knows no Debian release here"
    echo "clean_system: making a bare Debian $release"
    rm -rf "$scratch/debian"
    debootstrap --variant=minbase "$release" "$scratch/debian" "$site" > "$scratch/debootstrap.log" 2>&1 ||
        { tail -20 "$scratch/debootstrap.log" >&2; fail "debootstrap failed: see above"; }
    touch "$scratch/debian/done"
fi
rm -rf "$scratch/root"
cp -a "$scratch/debian" "$scratch/root"
cp "$packages"/*.deb "$scratch/root/tmp/"

# With /proc, which programs need to find the libraries beside them; it is gone with the command.
inside() {
    unshare --mount sh -c 'mount -t proc proc "$0/proc" && exec chroot "$0" "$@"' "$scratch/root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"
}

inside sh -c 'apt-get install -y -q --no-install-recommends /tmp/*.deb pkg-config man-db bash-completion' \
    > "$scratch/install.log" 2>&1 ||
    { tail -20 "$scratch/install.log" >&2; fail "the packages do not install: see above"; }

example=/usr/share/doc/gpon-validate/examples/full-card
# dpkg compresses nothing here: the files are as the example's expected.txt wants them.
said=$(inside sh -c "cd $example && gpon-validate check --running running.xml --edit overbook.xml --card card.json
    echo \"exit \$?\"")
diff -u --label expected.txt "$scratch/root$example/expected.txt" --label "gpon-validate, installed" <(echo "$said") ||
    fail "gpon-validate from the packages says something else than it should"
inside gpon-validate generate --links 1 --onus 2 --service-ports 4 -o /tmp/card.xml --card /tmp/card.json > /dev/null
inside gpon-validate check /tmp/card.xml --card /tmp/card.json --yes --explain > "$scratch/explain.log" || fail "a generated card is not accepted"

# A server that tells what it serves, and ends when it is told to.
inside sh -c "cd $example && gpon-twin --running running.xml --card card.json --ephemeral --no-ssh \
    --unix /tmp/card.sock > /tmp/said & twin=\$!
    until [ -S /tmp/card.sock ]; do kill -0 \$twin || exit 1; sleep 0.1; done
    until grep -q 'socket /tmp/card.sock' /tmp/said; do kill -0 \$twin || exit 1; sleep 0.1; done
    kill \$twin; wait \$twin" || fail "gpon-twin does not serve"

plugin=$(inside pkg-config --variable=plugin gpon_card_valid)
inside test -f "$plugin" || fail "pkg-config names $plugin, which is not there"
header=$(inside pkg-config --variable=includedir gpon_card_valid)/gpon_card_valid_plugin.h
inside test -f "$header" || fail "pkg-config's include folder has no $header"
for program in gpon-validate gpon-twin; do
    inside man --warnings "$program" > "$scratch/man.txt" 2> "$scratch/man.err" ||
        { cat "$scratch/man.err" >&2; fail "there is no man page of $program"; }
    [ ! -s "$scratch/man.err" ] || { cat "$scratch/man.err" >&2; fail "the man page of $program has faults: see above"; }
    grep -q 'EXIT STATUS' "$scratch/man.txt" || fail "the man page of $program is empty"
    inside bash -c ". /usr/share/bash-completion/bash_completion && _completion_loader $program
        complete -p $program" > /dev/null 2>&1 || fail "bash has no completion for $program"
done

echo "clean_system: $(inside dpkg-query -W -f '${Package} ${Version} ${Architecture}; ' libgpon-card-valid gpon-validate gpon-twin)"
echo "clean_system: installed on a bare Debian; the example, a twin, the man pages, the completions and pkg-config are right."
