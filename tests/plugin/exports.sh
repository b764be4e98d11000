#!/usr/bin/env bash
# The names that a library exports are exactly those that its export list or its C headers publish.
# Usage: exports.sh NM LIBRARY EXPORT_LIST
#        exports.sh NM LIBRARY HEADER...
set -euo pipefail

nm=$1 library=$2
shift 2

names_of_list() {
    sed -n '/global:/,/local:/p' "$1" |
        sed 's|/\*.*\*/||' | grep -oE '^[[:space:]]*[A-Za-z_][A-Za-z0-9_]*;' | tr -d ' \t;'
}

# What is declared begins at the start of a line: functions, and variables with `extern`.
names_of_headers() {
    grep -hE '^[a-z]' "$@" | grep -v '^typedef' | grep -oE '^[a-z0-9_ *]+\(|^extern [a-z0-9_ *]+;' |
        grep -oE '[a-z0-9_]+[(;]$' | tr -d '(;'
}

case $1 in
    *.h) published=$(names_of_headers "$@" | sort) ;;
    *) published=$(names_of_list "$1" | sort) ;;
esac
exported=$("$nm" --dynamic --defined-only --format=posix "$library" | cut -d' ' -f1 | sort)

if [ -z "$published" ]; then
    echo "No names found in $*"
    exit 1
fi
if ! diff -u <(echo "$published") <(echo "$exported"); then
    echo "What is published (-) and the library (+) differ."
    exit 1
fi
echo "$(echo "$published" | wc -l) names, all exported, and no others."
