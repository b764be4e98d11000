#!/usr/bin/env bash
# Runs gpon-validate on one golden case and compares what the operator sees with expected.txt.
#
# usage: run_case.sh [--update] FOLDER GPON_VALIDATE...
#
# GPON_VALIDATE may be several words: an emulator, its options, and the program.
# The folder holds README (why the case matters), expected.txt (stdout, then `exit N`), and one of
# change.xml, change.json, candidate.xml, overbook.xml; running.xml and card.json stand there or in the folder
# above. `command` may name another command than check, `arguments` hold further words of the command line, and
# `stdin` what the program reads. A file `command-line` holds all words instead, as a shell reads them; $scratch is an
# empty folder. With --update expected.txt is written instead of compared.
set -uo pipefail

update=no
if [ "$1" = --update ]; then
  update=yes
  shift
fi
folder=$1
shift
program=("$@")
program[-1]=$(realpath "${program[-1]}")
cd "$folder" || exit 1

fail() {
  echo "$PWD: $1" >&2
  exit 1
}

# The file, or the one of the folder above; nothing if there is neither.
inherited() {
  for file in "$1" "../$1"; do
    if [ -f "$file" ]; then
      echo "$file"
      return
    fi
  done
}

command_words() {
  if [ -f command-line ]; then
    scratch=$(mktemp -d)
    trap 'rm -r "$scratch"' EXIT
    eval "words=($(< command-line))"
    return
  fi
  words=(check)
  [ -f command ] && words=("$(< command)")
  local running card
  running=$(inherited running.xml)
  card=$(inherited card.json)
  [ -n "$running" ] && words+=(--running "$running")
  [ -n "$card" ] && [ "${words[0]}" = check ] && words+=(--card "$card")
  local inputs=${#words[@]}
  if [ -f candidate.xml ]; then
    words+=(candidate.xml)
  else
    local edit
    for edit in change.xml change.json overbook.xml; do
      if [ -f "$edit" ]; then
        words+=(--edit "$edit")
        break
      fi
    done
  fi
  if [ -f arguments ]; then
    local more
    read -r -d '' -a more < arguments
    words+=("${more[@]}")
  elif [ ${#words[@]} -eq "$inputs" ]; then
    fail "nothing to check: neither change.xml nor candidate.xml nor arguments"
  fi
}

# Nobody must be asked, whatever terminal this runs on; what goes to stderr is for the log.
actual() {
  local input=/dev/null
  [ -f stdin ] && input=stdin
  "${program[@]}" "${words[@]}" < "$input"
  echo "exit $?"
}

[ -s README ] || fail "README is missing: a line that says why the case matters"
command_words
if [ "$update" = yes ]; then
  actual > expected.txt
  exit
fi
[ -f expected.txt ] || fail "expected.txt is missing: see tests/golden/update.sh"
if ! diff -u --label expected.txt expected.txt --label "gpon-validate ${words[*]}" <(actual); then
  fail "what the operator sees has changed; if it is right, run tests/golden/update.sh"
fi
