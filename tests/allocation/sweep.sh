#!/usr/bin/env bash
# Lets allocations fail, one a run, throughout a check of a change that must be rejected: whatever
# is missing, the change is never accepted, and the program ends in an orderly way.
# Usage: sweep.sh LIBRARY GPON_VALIDATE CASE [RUNS]
# Of the runs a third lets one allocation fail, a third all from there on, and a third one of the last,
# which are those of the rules; RUNS 0 is all that there are.
set -uo pipefail

library=$1 program=$2 runs=${4:-180}
cd "$3" || exit 1
words=(check --running ../running.xml --card ../card.json --edit change.xml)

# Ends with the exit code; what the program says is in `said`.
try() {
    said=$(env LD_PRELOAD="$library" "$@" "$program" "${words[@]}" 2>&1 < /dev/null)
}

try FAIL_COUNT=1
code=$?
total=$(tail -n 1 <<< "$said")
[ "$code" -eq 1 ] || { echo "with all memory: exit code $code: $said"; exit 1; }
[ "$total" -gt 1000 ] || { echo "allocations are not counted: $said"; exit 1; }

declare -A ends
status=0
# sweep FIRST [FAIL_FOR_GOOD=1]: from this allocation on.
sweep() {
    local first=$1 at step
    shift
    step=$((runs == 0 ? 1 : (total - first) * 3 / runs + 1))
    for ((at = first; at <= total; at += step)); do
        try FAIL_AT="$at" "$@"
        code=$?
        ends[$code]=$((${ends[$code]:-0} + 1))
        case $code in
        1 | 3 | 4) ;;
        *)
            echo "allocation $at $*: exit code $code: $said"
            status=1
            ;;
        esac
    done
}
sweep 1
sweep 2 FAIL_FOR_GOOD=1
sweep $((total * 19 / 20))
for code in "${!ends[@]}"; do
    echo "exit code $code: ${ends[$code]} runs"
done
# A sweep in which nothing fails would prove nothing.
[ $((${ends[3]:-0} + ${ends[4]:-0})) -gt 0 ] || status=1
exit $status
