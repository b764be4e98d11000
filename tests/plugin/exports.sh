#!/usr/bin/env bash
# The names that the plug-in exports are exactly those that its export list publishes.
# Usage: exports.sh NM LIBRARY EXPORT_LIST
set -euo pipefail

nm=$1 library=$2 export_list=$3

published=$(sed -n '/global:/,/local:/p' "$export_list" |
    sed 's|/\*.*\*/||' | grep -oE '^[[:space:]]*[A-Za-z_][A-Za-z0-9_]*;' | tr -d ' \t;' | sort)
exported=$("$nm" --dynamic --defined-only --format=posix "$library" | cut -d' ' -f1 | sort)

if [ -z "$published" ]; then
    echo "No names found in $export_list"
    exit 1
fi
if ! diff -u <(echo "$published") <(echo "$exported"); then
    echo "The export list (-) and the library (+) differ."
    exit 1
fi
echo "$(echo "$published" | wc -l) names, all exported, and no others."
