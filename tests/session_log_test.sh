#!/bin/sh
# An independent reader looks at a session's job log: xmllint must accept it, and what the session
# printed must stand in it word for word.
#   session_log_test.sh EMULATOR VTCTL FOLDER
set -eu
emulator=$1
vtctl=$2
work=$3
rm -rf "$work"
mkdir -p "$work/tree/R&D <new>/Ümläut" "$work/tree/empty" "$work/out"
echo data >"$work/tree/R&D <new>/Ümläut/it's \"quoted\".txt"
printf 'x%.0s' $(seq 5000) >"$work/tree/large.bin"
ln -s /nowhere "$work/tree/dangling"
printf '\001' >"$work/tree/$(printf 'control\001name')"

windows() { printf 'Z:%s' "$1" | tr / '\134'; }
status=0
"$emulator" "$vtctl" session --root "$(windows "$work/tree")" --out "$(windows "$work/out")" \
  >"$work/printed.txt" || status=$?
[ "$status" -le 2 ] || {
  echo "The session failed with exit code $status."
  cat "$work/printed.txt"
  exit 1
}

log=$(find "$work/out" -name '*.xml')
xmllint --noout "$log"
xmllint --xpath 'string(/)' "$log" | tr -d '\r' >"$work/log.txt"
# What only the screen has: headings and the table of reasons.
tr -d '\r' <"$work/printed.txt" | sed 's/^ *//' |
  grep -vE '^$|^[0-9,]+  (warning|error) |^(Settings|Summary|Warnings, Errors)$' >"$work/expected.txt"
lines=0
while IFS= read -r line; do
  lines=$((lines + 1))
  grep -qF -- "$line" "$work/log.txt" || {
    echo "Printed, but not in the job log: $line"
    exit 1
  }
done <"$work/expected.txt"
[ "$lines" -ge 10 ] || {
  echo "The session printed only $lines lines."
  exit 1
}
