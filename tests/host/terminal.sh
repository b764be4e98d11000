#!/usr/bin/env bash
# On a terminal the operator is asked about warnings, and the answer counts.
# Usage: terminal.sh EXAMPLE GPON_VALIDATE...
# EXAMPLE is a golden case with a warning and nothing worse; GPON_VALIDATE may be several words: an emulator, its
# options, and the program.
set -euo pipefail

cd "$1"
shift

# answer_with TEXT CODE END: what is typed, the exit code, and how the check ends.
answer_with() {
    local code=0 screen
    screen=$(printf '%s\n' "$1" | script --quiet --return --echo never --command \
        "$program check --running ../running.xml --edit change.xml" /dev/null) || code=$?
    if [ "$code" -ne "$2" ] || [[ $screen != *"warning:"*"Proceed? [yes,no] "*"$3"* ]]; then
        printf 'To "%s" it ends with exit code %s, and on the terminal stands:\n%s\n' "$1" "$code" "$screen"
        return 1
    fi
}

program=${*@Q}
answer_with yes 0 "Accepted after confirmation."
answer_with no 2 "Not confirmed."
