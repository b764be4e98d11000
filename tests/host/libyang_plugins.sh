#!/usr/bin/env bash
# gpon-validate loads no library that the environment offers to libyang. generate_base_h, which takes any,
# shows that the offer is a real one.
# Usage: libyang_plugins.sh LIBRARY MODEL GENERATE_BASE_H GPON_VALIDATE [EMULATOR...]
set -euo pipefail

library=$1 model=$2 generate_base_h=$3 gpon_validate=$4
shift 4
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/offered"
cp "$library" "$scratch/offered/"

fail() {
    echo "$*" >&2
    exit 1
}

for kind in TYPES EXTENSIONS; do
    offer=(env "LIBYANG_${kind}_PLUGINS_DIR=$scratch/offered" "MARK_FILE=$scratch/mark" "$@")
    "${offer[@]}" "$generate_base_h" "$model" "$scratch/base.h" > /dev/null 2>&1 || true
    [ -s "$scratch/mark" ] || fail "libyang loads no library of LIBYANG_${kind}_PLUGINS_DIR"
    rm "$scratch/mark"
    "${offer[@]}" "$gpon_validate" points > "$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"
    [ ! -e "$scratch/mark" ] || fail "gpon-validate loads a library of LIBYANG_${kind}_PLUGINS_DIR"
done
echo "Offered types and extensions are not loaded."
