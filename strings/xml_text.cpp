#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "platform/border.h"
#include "strings/xml_filter.h"
#include "vtclass/strings.h"

namespace {

using vtclass::WideView;
using vtclass::border::WideSink;
using vtclass::strings::FilteredPrefix;
using vtclass::strings::FilterInto;
using vtclass::strings::TextLength;

// Copies of up to this many units live on the stack.
constexpr std::size_t kShortText = 2048;

// Longer texts are filtered in pieces through a buffer in which every piece fits.
constexpr std::size_t kPiece = 256;
constexpr std::size_t kPieceRoom = kPiece * vtclass::strings::kLongestEntity + 8;

// Filters the `length` units at `text` in place, into at most `room` units.
std::size_t FilterInPlace(wchar_t* text, std::size_t length, std::size_t room) {
  wchar_t local[kShortText];
  std::unique_ptr<wchar_t[]> allocated;
  wchar_t* copy = local;
  if (length > kShortText) {
    allocated.reset(new wchar_t[length]);
    copy = allocated.get();
  }
  std::memcpy(copy, text, length * sizeof(wchar_t));
  return FilterInto(WideView(copy, length), text, room);
}

void FilterBuffer(wchar_t* buffer, std::size_t capacity) {
  if (capacity == 0) return;
  // The terminating zero is a unit that the filter would drop, so the scan stops there.
  const std::size_t clean = FilteredPrefix(WideView(buffer, capacity));
  if (clean == capacity) {
    buffer[capacity - 1] = L'\0';
    return;
  }
  if (buffer[clean] == L'\0') return;
  const std::size_t length = TextLength(buffer + clean, capacity - clean);
  const std::size_t written = FilterInPlace(buffer + clean, length, capacity - 1 - clean);
  buffer[clean + written] = L'\0';
}

// Puts `filtered` behind the first `clean` units.
void ReplaceRest(const WideSink& text, std::size_t clean, WideView filtered) {
  if (!text.ReplaceBehind(clean, filtered.data(), filtered.size())) throw std::bad_alloc();
}

void FilterText(const WideSink& text) {
  const std::size_t clean = FilteredPrefix(text.Text());
  WideView rest = WideView(text.Text()).substr(clean);
  if (rest.empty()) return;
  wchar_t piece[kPieceRoom];
  if (rest.size() <= kPiece) {
    ReplaceRest(text, clean, {piece, FilterInto(rest, piece, kPieceRoom)});
    return;
  }
  std::wstring result;
  result.reserve(rest.size());
  while (!rest.empty()) {
    const WideView part = rest.substr(0, kPiece);
    result.append(piece, FilterInto(part, piece, kPieceRoom));
    rest.remove_prefix(part.size());
  }
  ReplaceRest(text, clean, result);
}

}  // namespace

namespace vtclass::border {

void FilterXml(wchar_t* buffer, std::size_t capacity, Failure& failure) noexcept {
  platform::KeepFailure(failure, [=] { FilterBuffer(buffer, capacity); });
}

void FilterXml(const WideSink& text, Failure& failure) noexcept {
  platform::KeepFailure(failure, [&] { FilterText(text); });
}

}  // namespace vtclass::border
