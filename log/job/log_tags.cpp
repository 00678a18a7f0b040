#include "vtclass/log_tags.h"

#include <algorithm>
#include <iterator>
#include <string_view>

// The pointers share one section that holds nothing else; in the common one other constants could
// come between them. The linker puts a section named .rdata$x into .rdata as one piece, so the run
// stays whole and read-only. That they keep the table's order inside it is tested on the DLL.
#if defined(_MSC_VER)
#pragma section(".rdata$vtlogtag", read)
#define VTCLASS_LOG_TAG_SECTION __declspec(allocate(".rdata$vtlogtag"))
#else
#define VTCLASS_LOG_TAG_SECTION __attribute__((section(".rdata$vtlogtag")))
#endif

// The row's text is joined to an empty wide literal, which makes the whole of it wide.
#define VTCLASS_LOG_TAG(name, shape, text) \
  VTCLASS_LOG_TAG_SECTION constinit const wchar_t* const name = L"" text;
#include "vtclass/log_tag_rows.h"

namespace {

enum class Shape { element, error, warning, recommandation, format };

struct Row {
  std::wstring_view text;
  Shape shape;
};

constexpr Row kRows[] = {
#define VTCLASS_LOG_TAG(name, shape, text) {L"" text, Shape::shape},
#include "vtclass/log_tag_rows.h"
};

consteval auto CountOf(Shape shape) { return std::ranges::count(kRows, shape, &Row::shape); }

static_assert(std::size(kRows) == kLogTagCount);
static_assert(CountOf(Shape::element) == kLogTagElementCount);
static_assert(CountOf(Shape::error) == kLogTagErrorCount);
static_assert(CountOf(Shape::warning) == kLogTagWarningCount);
static_assert(CountOf(Shape::recommandation) == kLogTagRecommandationCount);
static_assert(CountOf(Shape::format) == kLogTagFormatCount);

constexpr bool IsNameCharacter(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') ||
         c == L'_';
}

// Takes `expected` off the front of `rest`; false when it does not stand there.
constexpr bool Take(std::wstring_view& rest, std::wstring_view expected) {
  if (!rest.starts_with(expected)) return false;
  rest.remove_prefix(expected.size());
  return true;
}

constexpr bool TakeName(std::wstring_view& rest) {
  const std::wstring_view before = rest;
  while (!rest.empty() && IsNameCharacter(rest.front())) rest.remove_prefix(1);
  return rest.size() < before.size() && (before.front() < L'0' || before.front() > L'9');
}

constexpr bool TakeAttribute(std::wstring_view& rest) {
  if (!TakeName(rest) || !Take(rest, L"=\"")) return false;
  const auto end = rest.find_first_of(L"\"<&");
  if (end == 0 || end == std::wstring_view::npos || rest[end] != L'"') return false;
  rest.remove_prefix(end + 1);
  return true;
}

// The tag behind its element name: attributes, each after one blank, a blank, the end.
constexpr bool IsRestOfStartTag(std::wstring_view rest) {
  while (Take(rest, L" ")) {
    if (rest == L">") return true;
    if (!TakeAttribute(rest)) return false;
  }
  return rest == L">" || rest == L"/>";
}

constexpr Shape ShapeOf(std::wstring_view text) {
  if (text.find(L'%') != std::wstring_view::npos) return Shape::format;
  if (text.starts_with(L"<OperationErrors Type=\"")) return Shape::error;
  if (text.starts_with(L"<Warning Type=\"")) return Shape::warning;
  if (text.starts_with(L"<recommandation")) return Shape::recommandation;
  return Shape::element;
}

constexpr bool FitsItsShape(const Row& row) {
  std::wstring_view rest = row.text;
  if (!Take(rest, L"<") || !TakeName(rest) || !IsRestOfStartTag(rest)) return false;
  if (ShapeOf(row.text) != row.shape) return false;
  if (row.shape != Shape::format) return !row.text.ends_with(L"/>");
  const auto placeholder = row.text.find(L'%');
  return row.text.substr(placeholder, 2) == L"%s" &&
         row.text.find(L'%', placeholder + 1) == std::wstring_view::npos;
}

consteval bool NoTextTwice() {
  std::wstring_view texts[std::size(kRows)];
  std::ranges::transform(kRows, texts, &Row::text);
  std::ranges::sort(texts);
  return std::ranges::adjacent_find(texts) == std::end(texts);
}

static_assert(std::ranges::all_of(kRows, FitsItsShape));
static_assert(NoTextTwice());

}  // namespace
