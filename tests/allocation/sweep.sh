#!/usr/bin/env bash
# Lets allocations fail, one a run, throughout a check of a change that must be rejected: whatever
# is missing, the change is never accepted, and the program ends in an orderly way.
# Usage: sweep.sh LIBRARY GPON_VALIDATE CASE [RUNS]
# Half of the runs let one allocation fail, the others all from there on; RUNS 0 is all there are.
set -uo pipefail

library=$1 program=$2 runs=${4:-160}
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

step=$((runs == 0 ? 1 : total * 2 / runs + 1))
declare -A ends
status=0
for for_good in "" FAIL_FOR_GOOD=1; do
    for ((at = 1 + ${#for_good}; at <= total; at += step)); do
        try FAIL_AT="$at" $for_good
        code=$?
        ends[$code]=$((${ends[$code]:-0} + 1))
        case $code in
        1 | 3 | 4) ;;
        *)
            echo "allocation $at $for_good: exit code $code: $said"
            status=1
            ;;
        esac
    done
done
for code in "${!ends[@]}"; do
    echo "exit code $code: ${ends[$code]} runs"
done
# A sweep in which nothing fails would prove nothing.
[ $((${ends[3]:-0} + ${ends[4]:-0})) -gt 0 ] || status=1
exit $status
