#!/usr/bin/env bash
# Runs gpon-validate as a golden case does, and has it write a report of each format besides.
#
# usage: with_reports.sh FOLDER GPON_VALIDATE... ARGUMENTS...
#
# The reports of a case are FOLDER/GROUP.CASE.FORMAT.
case=$1/$(basename "$(dirname "$PWD")").$(basename "$PWD")
shift
[ -f command ] && exec "$@" # Other commands have no such reports.
words=()
for format in text json sarif junit gitlab github; do
  words+=(--report "$format=$case.$format")
done
exec "$@" "${words[@]}"
