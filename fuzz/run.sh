#!/usr/bin/env bash
# Runs each fuzzer for so many seconds: run.sh BUILD_DIR SECONDS. What they learn is kept in
# BUILD_DIR/fuzz/FUZZER/corpus, inputs that break something in BUILD_DIR/fuzz/FUZZER/findings.
set -euo pipefail

[ $# -eq 2 ] || { echo "usage: $0 BUILD_DIR SECONDS" >&2; exit 1; }
build_dir=$1
seconds=$2
seeds=$(dirname "$0")/corpus
longest_input=1600
failed=0

for seed_dir in "$seeds"/*/; do
    name=$(basename "$seed_dir")
    fuzzer=$build_dir/bin/fuzz_$name
    [ "$name" != rpc ] || [ -x "$fuzzer" ] || continue # Built with GPON_TWIN only.
    work=$build_dir/fuzz/$name
    mkdir -p "$work/corpus" "$work/findings"
    echo "$name: $seconds s ..."
    code=0
    "$fuzzer" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 -len_control=0 \
        -max_len=$longest_input -print_final_stats=1 -artifact_prefix="$work/findings/" \
        "$work/corpus" "$seed_dir" >"$work/log" 2>&1 || code=$?
    # libFuzzer's own figure: a fuzzer that executed nothing has found nothing out.
    executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log")
    if [ "$code" -ne 0 ]; then
        failed=1
        sed -n '/FINDING\|ERROR\|runtime error\|Assertion/,+12p' "$work/log" | head -40
        echo "$name: a finding after ${executed:-no} inputs; all of it is in $work/log"
        for finding in "$work/findings"/*; do
            [ -e "$finding" ] && echo "  replay it with: $fuzzer $finding"
        done
    elif [ "${executed:-0}" -eq 0 ]; then
        failed=1
        echo "$name: executed nothing; see $work/log"
    else
        echo "$name: $executed inputs, nothing found"
    fi
done
exit $failed
