#!/bin/sh
# The operators' guide says what the table of the registry values says:
#   registry_guide.sh GUIDE COMMAND...      COMMAND prints the guide that the table gives
set -eu
guide=$1
shift
made=$("$@")
if printf '%s\n' "$made" | diff -u "$guide" -; then
  exit 0
fi
echo "$guide differs from config/registry_values.h (- guide, + table)."
echo "If the table is right, make the guide anew: $* > $guide"
exit 1
