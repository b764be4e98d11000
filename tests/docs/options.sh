#!/usr/bin/env bash
# The man page and the bash completion name all long options that --help names, and no others.
# Usage: options.sh PAGES COMMANDS PROGRAM...
# PAGES is the path of both, without their endings; COMMANDS are those of the program.
# PROGRAM may be several words: an emulator, its options, and the program.
set -euo pipefail

pages=$1
read -r -a commands <<< "$2"
shift 2

# Only where an option is introduced, at the start of a line; texts mention others.
helped=$({ "$@" --help; for command in "${commands[@]}"; do "$@" "$command" --help; done; } |
    grep -oE '^ +(-[a-z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+' | sort -u)
[ "$(wc -l <<< "$helped")" -gt 10 ] || { echo "--help tells too few options: $helped"; exit 1; }

status=0
# Not behind a pipe: there the status would be that of a shell of its own.
compare() {
    diff -u --label "--help" <(echo "$helped") --label "$1" <(sort -u <<< "$2") || status=1
}
compare "man page" "$(sed 's/\\-/-/g' "$pages.1" | grep -oE -- '--[a-z]+(-[a-z]+)*')"
compare "completion" "$(grep -oE -- '(^|[ "])--[a-z]+(-[a-z]+)*' "$pages.bash" | grep -oE -- '--[a-z-]+')"
echo "$(wc -l <<< "$helped") options compared."
exit $status
