#!/usr/bin/env bash
# gpon-validate ignores the plug-in folders that the environment names for libyang. generate_base_h, which
# does not, is the control.
# Usage: libyang_plugins.sh LIBRARY MODEL GENERATE_BASE_H GPON_VALIDATE [EMULATOR...]
set -euo pipefail

library=$1 model=$2 generate_base_h=$3 gpon_validate=$4
shift 4
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/plugins"
cp "$library" "$scratch/plugins/"

fail() {
    echo "$*" >&2
    exit 1
}

for kind in TYPES EXTENSIONS; do
    with_plugins=(env "LIBYANG_${kind}_PLUGINS_DIR=$scratch/plugins" "MARK_FILE=$scratch/mark" "$@")
    "${with_plugins[@]}" "$generate_base_h" "$model" "$scratch/base.h" > /dev/null 2>&1 || true
    [ -s "$scratch/mark" ] || fail "libyang loads no library of LIBYANG_${kind}_PLUGINS_DIR"
    rm "$scratch/mark"
    "${with_plugins[@]}" "$gpon_validate" points > "$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"
    [ ! -e "$scratch/mark" ] || fail "gpon-validate loads a library of LIBYANG_${kind}_PLUGINS_DIR"
done
echo "gpon-validate loads neither types nor extensions from folders that the environment names."
