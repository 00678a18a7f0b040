#!/bin/bash
# The completions as a shell uses them, and the manual as its reader sees it.
#   completion_test.sh EMULATOR VTCTL FOLDER [--update]
# What the package holds must be what vtctl prints; --update makes it so.
set -eu
emulator=$1
vtctl=$2
work=$3
rm -rf "$work"
mkdir -p "$work"
for form in bash powershell man; do
  "$emulator" "$vtctl" completion "$form" | tr -d '\r' >"$work/$form"
done
package=$(cd "$(dirname "$0")/../../../docs/completion" && pwd)
declare -A files=([bash]=vtctl.bash [powershell]=vtctl.ps1 [man]=vtctl.1)
faults=0
fault() {
  echo "$*"
  faults=$((faults + 1))
}

for form in "${!files[@]}"; do
  [ "${4-}" != --update ] || cp "$work/$form" "$package/${files[$form]}"
  cmp -s "$work/$form" "$package/${files[$form]}" ||
    fault "docs/completion/${files[$form]} is not what vtctl completion $form prints; see --update here"
done

# shellcheck source=/dev/null
. "$work/bash"
# completes LINE EXPECTED...: the word at hand is the last one of the line, empty behind a blank.
completes() {
  local line=$1
  shift
  read -ra COMP_WORDS <<<"$line"
  [[ $line != *' ' ]] || COMP_WORDS+=('')
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMPREPLY=()
  _vtctl
  local found="${COMPREPLY[*]}"
  [ "$found" = "$*" ] || fault "\"$line\" completes to \"$found\", not \"$*\""
}
completes 'vtctl reg' registry
completes 'vtctl registry ' get set list watch
completes 'vtctl registry g' get
completes 'vtctl registry get --v' --view
completes 'vtctl registry get KEY --view ' 32 64
completes 'vtctl registry get --machine ' ''
completes 'vtctl registry get KEY' ''
completes 'vtctl registry set --type d' dword
completes 'vtctl sgmon watch jo' job-manager
completes 'vtctl --qu' --quiet
completes 'vtctl session --quiet --cr' --cross-volumes
completes 'vtctl hive verify --js' --json
completes 'vtctl adv enable --js' --json
completes 'vtctl nonsense --no-c' --no-color

# Each quotation mark of the script for PowerShell has its other one, and so have its braces.
for pair in '{ }' '( )' '[ ]'; do
  read -r open close <<<"$pair"
  [ "$(grep -oF -- "$open" "$work/powershell" | wc -l)" = "$(grep -oF -- "$close" "$work/powershell" | wc -l)" ] ||
    fault "PowerShell: $open and $close do not match"
done
grep -q "'vtctl registry' = @{'get' = 'Print one value'; " "$work/powershell" || fault "PowerShell: no commands"
grep -q "'vtctl registry get --view' = @{'32' = " "$work/powershell" || fault "PowerShell: no words"

if command -v man >/dev/null; then
  MANWIDTH=100 LC_ALL=C.UTF-8 man --warnings -l "$work/man" >"$work/man.txt" 2>"$work/man.err" || fault "man fails"
  [ ! -s "$work/man.err" ] || fault "man complains: $(head -5 "$work/man.err")"
  for text in 'vtctl registry get KEY VALUE' '--view 32|64' 'vtctl session --root C:\Data --out C:\Logs' \
    'Exit codes: 0 clean, 1 warnings'; do
    grep -qF -- "$text" "$work/man.txt" || fault "the manual has no \"$text\""
  done
else
  echo "The manual is not looked at: this machine has no man."
fi
[ "$faults" -eq 0 ]
