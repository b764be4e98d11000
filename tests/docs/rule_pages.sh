#!/usr/bin/env bash
# The pages in docs/rules are those that the rules' facts, the model and the golden cases give.
# Usage: rule_pages.sh RULE_PAGES EXAMPLES DOCS_RULES
set -euo pipefail

fresh=$(mktemp -d)
trap 'rm -rf "$fresh"' EXIT
"$1" "$2" "$fresh"
if ! diff -ru "$3" "$fresh"; then
    echo "docs/rules is out of date: build the target docs."
    exit 1
fi
