#!/usr/bin/env bash
# The man page and the bash completion name all long options that --help names, and no others.
# Usage: options.sh PACKAGING GPON_VALIDATE...
# GPON_VALIDATE may be several words: an emulator, its options, and the program.
set -euo pipefail

packaging=$1
shift

# Only where an option is introduced, at the start of a line; texts mention others.
helped=$({ "$@" --help; for command in check fleet audit points generate; do "$@" "$command" --help; done; } |
    grep -oE '^ +(-[a-z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+' | sort -u)
[ "$(wc -l <<< "$helped")" -gt 20 ] || { echo "--help tells too few options: $helped"; exit 1; }

status=0
compare() {
    diff -u --label "--help" <(echo "$helped") --label "$1" <(sort -u) || status=1
}
sed 's/\\-/-/g' "$packaging/gpon-validate.1" | grep -oE -- '--[a-z]+(-[a-z]+)*' | compare "man page"
grep -oE -- '(^|[ "])--[a-z]+(-[a-z]+)*' "$packaging/gpon-validate.bash" | grep -oE -- '--[a-z-]+' | compare "completion"
echo "$(wc -l <<< "$helped") options compared."
exit $status
