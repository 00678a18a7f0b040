#ifndef VTCLASS_JOBLOG_ELEMENT_STACK_H
#define VTCLASS_JOBLOG_ELEMENT_STACK_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "joblog/log_event.h"
#include "joblog/markup_reader.h"

namespace vtclass::joblog {

/* Elements that are open deeper than this are read as if they were closed at once: a damaged log of
 * gigabytes must not fill the memory with open elements. */
inline constexpr std::size_t kMaxDepth = 250'000;

/* A closing tag is looked for this far above the innermost element, so that surplus closing tags in
 * a deep log do not cost the square of its length. */
inline constexpr std::size_t kMaxUnclosed = 64;

struct OpenElement {
  Position at;
  Severity severity = Severity::kInfo;
  bool isContainer = false; /* it holds elements; text in it stands for itself */
  bool hasEmitted = false;  /* an entry of it was reported */
  /* Its name and attribute values lie one after the other in the stack's text. */
  std::size_t nameAt = 0;
  std::uint16_t nameLength = 0;
  std::uint16_t typeLength = 0;
  std::uint16_t detailLength = 0;
};

/* The open elements of a document, innermost last. */
class ElementStack {
 public:
  bool Empty() const { return elements.empty(); }
  std::size_t Depth() const { return elements.size(); }
  OpenElement& Top() { return elements.back(); }
  const OpenElement& Top() const { return elements.back(); }
  std::u16string_view TopName() const { return Name(elements.back()); }
  std::u16string_view TopType() const;
  std::u16string_view TopDetail() const;
  bool TopIs(std::u16string_view name) const { return !Empty() && TopName() == name; }

  /* False when the nest is too deep. */
  bool Push(const Token& startTag, Severity severity);
  void Pop();
  void Clear();
  /* How many elements a closing tag of this name closes; 0 when it is surplus. */
  std::size_t CountToClose(std::u16string_view name) const;

 private:
  std::u16string_view Name(const OpenElement& element) const;

  std::vector<OpenElement> elements;
  std::u16string texts;
};

}  // namespace vtclass::joblog

#endif
