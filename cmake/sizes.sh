#!/usr/bin/env bash
# Prints a table of a library's size, stripped, on several architectures.
#
# usage: sizes.sh {NAME STRIP LIBRARY}...
set -euo pipefail

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# `size` reads every architecture.
echo "| libgpon_card_valid.so, stripped | code and constants | data | zeroed data | file |"
echo "|---|---|---|---|---|"
while [ $# -gt 0 ]; do
    name=$1 strip=$2 library=$3
    shift 3
    if [ ! -f "$library" ]; then
        echo "sizes.sh: $library is not there: it was not built for $name" >&2
        continue
    fi
    "$strip" -o "$scratch/library" "$library"
    read -r text data bss _ < <(size "$scratch/library" | tail -1)
    echo "| $name | $text | $data | $bss | $(stat -c %s "$scratch/library") |"
done
