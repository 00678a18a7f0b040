#!/bin/sh
# An independent parser must accept every job log, whatever the texts in it.
#   hostile_job_logs_test.sh EMULATOR WRITER FOLDER
set -eu
emulator=$1
writer=$2
work=$3
seed=${SEED:-$$}
rm -rf "$work"
mkdir -p "$work"
echo "Seed: $seed"
"$emulator" "$writer" "Z:$(printf '%s' "$work" | tr / '\134')" "$seed"
set -- "$work"/*.xml
[ $# -ge 20 ] || {
  echo "Only $# logs were written."
  exit 1
}
xmllint --noout "$@"
