#include "joblog/element_stack.h"

#include <algorithm>

namespace vtclass::joblog {

std::u16string_view ElementStack::Name(const OpenElement& element) const {
  return std::u16string_view(texts).substr(element.nameAt, element.nameLength);
}

std::u16string_view ElementStack::TopType() const {
  const OpenElement& top = elements.back();
  return std::u16string_view(texts).substr(top.nameAt + top.nameLength, top.typeLength);
}

std::u16string_view ElementStack::TopDetail() const {
  const OpenElement& top = elements.back();
  return std::u16string_view(texts).substr(top.nameAt + top.nameLength + top.typeLength,
                                           top.detailLength);
}

bool ElementStack::Push(const Token& startTag, Severity severity) {
  if (elements.size() >= kMaxDepth) return false;
  OpenElement element;
  element.at = startTag.at;
  element.severity = severity;
  element.nameAt = texts.size();
  element.nameLength = static_cast<std::uint16_t>(startTag.text.size());
  element.typeLength = static_cast<std::uint16_t>(startTag.type.size());
  element.detailLength = static_cast<std::uint16_t>(startTag.detail.size());
  texts.append(startTag.text).append(startTag.type).append(startTag.detail);
  elements.push_back(element);
  return true;
}

void ElementStack::Pop() {
  texts.resize(elements.back().nameAt);
  elements.pop_back();
}

void ElementStack::Clear() {
  elements.clear();
  texts.clear();
}

std::size_t ElementStack::CountToClose(std::u16string_view name) const {
  const std::size_t most = std::min(elements.size(), kMaxUnclosed);
  for (std::size_t count = 1; count <= most; ++count) {
    if (Name(elements[elements.size() - count]) == name) return count;
  }
  return 0;
}

}  // namespace vtclass::joblog
