#!/usr/bin/env bash
# The pages in docs/rules are those that the rules' facts, the model and the golden cases give.
# Usage: rule_pages.sh EXAMPLES DOCS_RULES RULE_PAGES...
# RULE_PAGES may be several words: an emulator, its options, and the program.
set -euo pipefail

fresh=$(mktemp -d)
trap 'rm -rf "$fresh"' EXIT
examples=$1 published=$2
shift 2
"$@" "$examples" "$fresh"
if ! diff -ru "$published" "$fresh"; then
    echo "docs/rules is out of date: build the target docs."
    exit 1
fi
