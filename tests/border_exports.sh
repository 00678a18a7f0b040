#!/bin/sh
# No exported function takes a standard string or list that it could fill or would have to free
# (include/vtclass/export.h): border_exports.sh LIST DEMANGLER
set -eu

# These only read what they take.
list='std::vector<wcstring, std::allocator<wcstring> >&'
reads="Configuration::Save(wchar_t const*, $list)
AgentAdvConfig::SetMediaServerAdvList($list)
AgentAdvConfig::SetMediaServerPurgeList($list)
AgentAdvConfig::SetMyPublishedNamesList($list)"

offenders=$("$2" < "$1" |
  sed -E -e 's/\<w?cstring const&//g' \
    -e 's/std::__cxx11::basic_string<[^&]*> const&//g' \
    -e 's/^vtclass::border::TextSink<[^&]*>//' |
  grep -E '\<w?cstring\>|basic_string|std::(vector|unique_ptr|shared_ptr)' |
  grep -v -x -F "$reads") || true
if [ -z "$offenders" ]; then
  exit 0
fi
printf '%s\n' "$offenders"
echo "These exports take a string or list of the client's. Let the header fill it on the client's"
echo "side, by a sink (include/vtclass/border.h)."
exit 1
