# Shared by the scripts of this folder, which source it; it is not run by itself.
# shellcheck shell=bash

set -euo pipefail

root=$(cd -P "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build
logs=$build/logs
cache=${XDG_CACHE_HOME:-${HOME:-$build}/.cache}/vtclass_mini

# The C run time that the DLLs use (CRT): the Universal one, which every Windows since Server 2016 has,
# where the machine offers its toolchain (Debian 13); otherwise the older msvcrt (Debian 12). Each has
# a target of its own.
default_crt() {
  local system
  system=$(. /etc/os-release 2>/dev/null && printf '%s' "${ID:-} ${VERSION_ID:-}")
  case $system in
    "debian 12"*) echo msvcrt ;;
    *) echo ucrt ;;
  esac
}
crt=${CRT:-$(default_crt)}
case $crt in
  ucrt) triple=x86_64-w64-mingw32ucrt ;;
  msvcrt) triple=x86_64-w64-mingw32 ;;
  *) printf 'CRT is "%s"; known are ucrt and msvcrt.\n' "$crt" >&2 && exit 1 ;;
esac
export crt triple

# One line for each step that is taken; nothing is said of steps that are not needed.
say() { printf '%s\n' "$*"; }

fail() {
  printf '%s\n' "$*" >&2
  exit 1
}

# Runs a command with its output in build/logs/NAME.log.
logged() {
  local name=$1
  shift
  mkdir -p "$logs"
  "$@" >"$logs/$name.log" 2>&1 </dev/null
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  else
    sudo "$@"
  fi
}

# Asked before the first step that needs root, so that the refusal is a sentence and not a log.
require_root() {
  [ "$(id -u)" -eq 0 ] && return
  command -v sudo >/dev/null ||
    fail "Installing packages needs root: run this as root, or install sudo. Missing: $*"
  sudo -n true 2>/dev/null && return
  [ -t 0 ] && sudo -v && return
  fail "Installing packages needs root, and sudo asks for a password: run this on a terminal or as root. Missing: $*"
}

# Prints those of the given packages that are not installed.
missing_packages() {
  local installed
  # dpkg-query exits with 1 when it does not know a name; its list of the others is complete.
  installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)
  local package
  for package in "$@"; do
    grep -qxF "installed $package" <<<"$installed" || printf '%s\n' "$package"
  done
}

# True when the last apt run that logged to NAME could not reach its archive.
archive_unreachable() {
  grep -qE 'Could not (resolve|connect)|Unable to connect|Temporary failure|Failed to fetch|Connection (failed|timed out)' \
    "$logs/$1.log"
}

# The first error that apt itself names, for the sentence that the user sees.
apt_error() { sed -n 's/^E: //p' "$logs/$1.log" | head -n 1; }

install_packages() {
  local missing
  mapfile -t missing < <(missing_packages "$@" | awk '!seen[$0]++')
  [ "${#missing[@]}" -gt 0 ] || return 0
  command -v apt-get >/dev/null ||
    fail "This set-up installs Debian packages and finds no apt-get; install these by hand: ${missing[*]}"
  require_root "${missing[*]}"
  say "Installing packages: ${missing[*]}"
  # A single unreachable third-party source must not stop the set-up, so the update alone decides
  # nothing: what counts is whether the packages can be found and fetched.
  logged apt-update as_root apt-get -q update || true
  local unknown=() package
  for package in "${missing[@]}"; do
    apt-cache show --no-all-versions "$package" >/dev/null 2>&1 || unknown+=("$package")
  done
  if [ "${#unknown[@]}" -gt 0 ]; then
    archive_unreachable apt-update &&
      fail "The package archive cannot be reached; check the network and try again (details: $logs/apt-update.log)."
    fail "The package sources of this machine do not offer ${unknown[*]}; Debian 12 (bookworm) and 13 (trixie) have them in main."
  fi
  logged apt-install as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get -q -y -o DPkg::Lock::Timeout=120 install --no-install-recommends "${missing[@]}" && return
  archive_unreachable apt-install &&
    fail "Packages cannot be fetched; check the network and try again (details: $logs/apt-install.log)."
  fail "Installing packages failed: $(apt_error apt-install) (details: $logs/apt-install.log)."
}

# Source packages ------------------------------------------------------------------------------
# apt reads them with a source list and state of our own, because most machines have no deb-src
# lines and the machine's own configuration is not ours to change. Addresses, suites and keys are
# those that the machine already trusts for its packages; proxy and certificate settings apply.

# Rewrites the machine's Debian entries as deb-src entries below the folder $1.
write_source_entries() {
  local folder=$1 codename file
  codename=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-bookworm}")
  mkdir -p "$folder"
  : >"$folder/debian.list"
  : >"$folder/debian.sources"
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$file" ] || continue
    awk -v codename="$codename" '
      $1 == "deb" {
        at = 2
        if ($2 ~ /^\[/) { while ($at !~ /\]$/ && at < NF) at++; at++ }
        suite = $(at + 1)
        wanted = suite == codename || suite == codename "-updates" || suite == codename "-security"
        if (wanted && / main( |$)/) { sub(/^[ \t]*deb/, "deb-src"); print }
      }' "$file" >>"$folder/debian.list"
  done
  for file in /etc/apt/sources.list.d/*.sources; do
    [ -f "$file" ] || continue
    awk -v codename="$codename" '
      BEGIN { RS = ""; FS = "\n" }
      {
        out = ""; binary = suites = main = 0; enabled = 1
        for (i = 1; i <= NF; i++) {
          line = $i
          count = split(line, word, /[ \t]+/)
          field = tolower(word[1])
          if (field == "types:") {
            for (j = 2; j <= count; j++) if (word[j] == "deb") binary = 1
            line = "Types: deb-src"
          } else if (field == "suites:") {
            line = "Suites:"
            for (j = 2; j <= count; j++)
              if (word[j] ~ "^" codename "(-updates|-security)?$") { line = line " " word[j]; suites++ }
          } else if (field == "components:") {
            for (j = 2; j <= count; j++) if (word[j] == "main") main = 1
          } else if (field == "enabled:") {
            enabled = tolower(word[2]) != "no"
          }
          out = out line "\n"
        }
        if (binary && suites && main && enabled) print out
      }' "$file" >>"$folder/debian.sources"
  done
}

# Runs an apt command on the source entries of our own.
source_apt() {
  local command=$1 state=$cache/apt
  shift
  "$command" -q \
    -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$state/sources" \
    -o Dir::State::lists="$state/lists" -o Dir::Cache="$state/cache" \
    -o APT::Sandbox::User="$(id -un)" "$@"
}

# Fetches the upstream archive of the Debian source package $1 into the folder $2 and prints its
# file name. The checksum comes from the archive's signed index. Only that file is asked for:
# some mirrors lack the package's other parts.
fetch_source() {
  local package=$1 folder=$2 state=$cache/apt file checksum
  mkdir -p "$folder" "$state/lists/partial" "$state/cache/archives/partial"
  write_source_entries "$state/sources"
  [ -s "$state/sources/debian.list" ] || [ -s "$state/sources/debian.sources" ] ||
    fail "No Debian package source is set up on this machine, so the source of $package cannot be fetched."
  logged apt-source-update source_apt apt-get update || true
  # A line reads: 'address' file size KIND:checksum
  read -r _ file _ checksum < <(
    source_apt apt-get source --print-uris --tar-only "$package" 2>/dev/null | grep "^'.*\.orig\.tar\." || true) ||
    fail "The source of $package cannot be found; check the network and the package sources (details: $logs/apt-source-update.log)."
  case $checksum in
    SHA256:*) checksum=${checksum#SHA256:} ;;
    *) fail "The package index gives no SHA-256 checksum for $file." ;;
  esac
  (cd "$folder" && logged apt-source source_apt apt-get source --download-only --tar-only "$package") ||
    fail "Fetching $file failed; check the network and try again (details: $logs/apt-source.log)."
  (cd "$folder" && sha256sum --status --check <<<"$checksum  $file") ||
    fail "$file does not have the checksum of the signed package index."
  printf '%s\n' "$file"
}

# Wine -----------------------------------------------------------------------------------------

# Keeps one Wine server until the calling script ends, because starting one for each program costs
# half a second. Arguments are a command that starts it, such as taskset.
hold_wine_server() {
  export WINEPREFIX=${WINEPREFIX:-$build/wine-prefix}
  "$root/scripts/wine-prefix"
  # A second holder would lose its programs when the first one ends the server.
  exec 9>"$WINEPREFIX.server.lock"
  if ! flock -n 9; then
    say "Waiting for another run in this prefix"
    flock 9
  fi
  trap end_wine_server EXIT
  trap 'exit 129' HUP
  trap 'exit 130' INT
  trap 'exit 143' TERM
  end_wine_server
  # The server and the background programs of Windows stay as long as they can, so they get none of
  # our streams: whoever reads one to its end, such as CTest, would wait for ever. The background
  # programs start with the first program, therefore it is this one.
  "$@" /usr/lib/wine/wineserver64 -p </dev/null >/dev/null 2>&1 9>&-
  "$@" "$root/scripts/wine" cmd.exe /c exit </dev/null >/dev/null 2>&1 9>&-
}

end_wine_server() {
  # Each fails when there is nothing to end.
  /usr/lib/wine/wineserver64 -k 2>/dev/null || true
  /usr/lib/wine/wineserver64 -w 2>/dev/null || true
}

# Cached folders -------------------------------------------------------------------------------
# A folder in the cache is complete or not there: it is made beside its place and moved. Its
# manifest tells on each use whether it is still as it was made.

seal() {
  local sums
  sums=$(cd "$1" && find . -type f -print0 | LC_ALL=C sort -z | xargs -0 sha256sum)
  printf '%s\n' "$sums" >"$1/MANIFEST"
}

is_sealed() { (cd "$1" 2>/dev/null && sha256sum --status --strict --check MANIFEST 2>/dev/null); }

# Prints the newest intact folder of the cache whose name fits the pattern $1.
newest_sealed() {
  local folder
  while read -r folder; do
    is_sealed "$folder" && printf '%s\n' "$folder" && return
    say "Damaged, to be made again: $folder" >&2
  done < <(find "$cache" -maxdepth 1 -type d -name "$1" 2>/dev/null | sort -rV)
  return 1
}

# Moves the finished folder $1 to $2; a damaged one of that name goes.
put_in_place() {
  seal "$1"
  rm -rf "$2"
  mv -T "$1" "$2"
}
