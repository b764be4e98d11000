#!/usr/bin/env bash
# Rewrites expected.txt of golden cases from what gpon-validate says now: read the difference
# before you keep it.
#
# usage: update.sh GPON_VALIDATE FOLDER...
#
# A folder is a case, such as examples/onu_bw_check/no-onus, or holds cases.
set -euo pipefail

here=$(dirname "$(realpath "$0")")
if [ $# -lt 2 ]; then
  sed -n '5,7s/^# \?//p' "$0" >&2
  exit 2
fi
program=$1
shift

find "$@" \( -name change.xml -o -name change.json -o -name change.json -o -name candidate.xml -o -name overbook.xml -o -name arguments \) \
  -printf '%h\n' | sort -u | while read -r folder; do
  echo "$folder"
  "$here/run_case.sh" --update "$folder" "$program"
done
