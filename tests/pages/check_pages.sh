#!/usr/bin/env bash
# Writes pages of good and bad cards, and looks at them in Chromium.
#
# usage: check_pages.sh BUILD
#
# BUILD/pages holds puppeteer-core and axe-core, BUILD/headroom.html is the page of the full card.
set -euo pipefail

build=$1
program=$build/bin/gpon-validate
pages=("$build/headroom.html")
group=examples/onu_bw_check
for case in both-above check-off link-without-settings missing-line-profiles; do
  page=$build/pages/$case.html
  card=$group/$case/card.json
  [ -f "$card" ] || card=$group/card.json
  "$program" headroom --running "$group/running.xml" --edit "$group/$case/change.xml" --card "$card" \
      --html "$page" > /dev/null
  pages+=("$page")
done
node tests/pages/check_page.mjs "$build/pages" "$(command -v chromium)" "${pages[@]}"
