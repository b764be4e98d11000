#!/usr/bin/env bash
# The man page and the bash completion name all long options that --help names, and no others.
# Usage: options.sh PACKAGING GPON_VALIDATE...
# GPON_VALIDATE may be several words: an emulator, its options, and the program.
set -euo pipefail

packaging=$1
shift

# Only where an option is introduced, at the start of a line; texts mention others.
helped=$({ "$@" --help; for command in check headroom diff fleet audit points generate replay; do "$@" "$command" --help; done; } |
    grep -oE '^ +(-[a-z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+' | sort -u)
[ "$(wc -l <<< "$helped")" -gt 20 ] || { echo "--help tells too few options: $helped"; exit 1; }

status=0
# Not behind a pipe: there the status would be that of a shell of its own.
compare() {
    diff -u --label "--help" <(echo "$helped") --label "$1" <(sort -u <<< "$2") || status=1
}
compare "man page" "$(sed 's/\\-/-/g' "$packaging/gpon-validate.1" | grep -oE -- '--[a-z]+(-[a-z]+)*')"
compare "completion" "$(grep -oE -- '(^|[ "])--[a-z]+(-[a-z]+)*' "$packaging/gpon-validate.bash" | grep -oE -- '--[a-z-]+')"
echo "$(wc -l <<< "$helped") options compared."
exit $status
