#include <cstdint>

#include "fuzz/fuzz_input.h"
#include "net/name_forms.h"

using vtclass::WideText;
using vtclass::WideUnit;
using vtclass::WideView;
using vtclass::fuzz::Check;

namespace {

constexpr WideUnit kBackslash = '\\';

bool IsGraphic(WideUnit unit) { return unit > ' ' && unit != 0x7F; }

// A replacement that makes new room each time: the plain form of the rule.
WideText ReplacedSlowly(const WideText& text, WideView what, WideView with) {
  WideText result = text;
  if (what.empty()) return result;
  for (std::size_t at = 0; (at = result.find(what, at)) != WideText::npos; at += with.size()) {
    result.replace(at, what.size(), with);
  }
  return result;
}

// Taking a path apart and putting it together gives the path again.
void CheckUnc(WideView path) {
  vtclass::net::UncParts parts;
  if (!vtclass::net::SplitUnc(path, parts)) {
    Check(parts.server.empty() && parts.share.empty());
    return;
  }
  const WideText head = WideText(parts.server) + kBackslash + WideText(parts.share);
  Check(path.substr(0, head.size()) == head);
  Check(head.size() == path.size() || path[head.size()] == kBackslash);
  Check(parts.server.substr(2).find(kBackslash) == WideView::npos);
}

}  // namespace

// Any name: its parts lie inside it, its forms keep to their rules, and converting it to itself
// changes nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vtclass::fuzz::Input input(data, size);
  const std::size_t cut = input.Number();
  const WideView text = input.Text();
  const WideView with = text.substr(0, cut % (text.size() + 1));

  const WideView server = vtclass::net::ServerIn(text);
  Check(server.find(kBackslash) == WideView::npos);
  Check(vtclass::net::ServerIn(server) == server);
  Check(vtclass::net::Replaced(text, server, server) == text);
  Check(vtclass::net::Replaced(text, server, with) == ReplacedSlowly(WideText(text), server, with));

  const WideText netBios = vtclass::net::NetBiosForm(text, &IsGraphic);
  Check(netBios.size() <= 15 &&
        netBios.find_first_of(VTCLASS_WIDE("\\/:*?\"<>|. ")) == WideText::npos);
  const WideText full = vtclass::net::WithDomainOf(server, with);
  Check(full.starts_with(server));
  Check(vtclass::net::FirstLabel(full) == vtclass::net::FirstLabel(server));
  if (vtclass::net::HasRacShape(text)) Check(text.size() >= 5);
  CheckUnc(text);
  return 0;
}
