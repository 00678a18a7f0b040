#include "joblog/element_names.h"

#include <algorithm>
#include <cstddef>

namespace vtclass::joblog {
namespace {

constexpr std::size_t kLongTextBytes = 60;

// Layout, and names that stand among their like.
constexpr std::string_view kSpeakForThemselves[] = {"file_name", "heading",   "indent",
                                                    "note",      "paragraph", "problem_text"};

char Lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
}

char Upper(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter & ~0x20) : letter;
}

}  // namespace

Severity SeverityOf(std::u16string_view element) {
  if (element == u"OperationErrors") return Severity::kError;
  if (element == u"Warning") return Severity::kWarning;
  // The misspelling belongs to the format.
  if (element == u"recommandation") return Severity::kRecommendation;
  return Severity::kInfo;
}

bool IsJobLogName(std::u16string_view element) {
  if (SeverityOf(element) != Severity::kInfo) return true;
  if (element == kJobLogElement || element == kCodeElement || element == kSetElement) return true;
  const auto fits = [](char16_t unit) {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'0' && unit <= u'9') || unit == u'_';
  };
  const std::size_t joint = element.find(u'_');
  return joint != 0 && joint < element.size() - 1 && std::ranges::all_of(element, fits);
}

std::string Label(std::string_view element) {
  // Some types are written out already: "SQL objects warning".
  if (element.find(' ') != std::string_view::npos) return std::string(element);
  std::string label;
  for (std::size_t i = 0; i < element.size(); ++i) {
    const char letter = element[i];
    const bool word =
        i > 0 && letter >= 'A' && letter <= 'Z' && Lower(element[i - 1]) == element[i - 1];
    if (word && label.back() != ' ') label += ' ';
    label += letter == '_' ? ' ' : Lower(letter);
  }
  if (!label.empty()) label[0] = Upper(label[0]);
  return label;
}

std::string_view SeverityName(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "Error";
    case Severity::kWarning:
      return "Warning";
    case Severity::kRecommendation:
      return "Recommendation";
    case Severity::kInfo:
      break;
  }
  return "Information";
}

std::string_view SeverityWord(Severity severity) {
  static constexpr std::string_view kWords[] = {"info", "recommendation", "warning", "error"};
  return kWords[static_cast<std::size_t>(severity)];
}

bool NeedsLabel(const Event& entry) {
  if (entry.element.empty() || entry.continued) return false;
  if (entry.text.empty()) return true;
  if (std::ranges::count(kSpeakForThemselves, entry.element) > 0) return false;
  if (entry.text.size() > kLongTextBytes) return false;
  // A colon (the Japanese one too) or an equals sign says that the text names its subject.
  for (const std::string_view mark : {":", "=", "\xEF\xBC\x9A"}) {
    if (entry.text.find(mark) != std::string::npos) return false;
  }
  const std::string label = Label(entry.element);
  const std::size_t first = std::min(label.find(' '), label.size());
  return !std::ranges::equal(std::string_view(label).substr(0, first),
                             std::string_view(entry.text).substr(0, first), {}, Lower, Lower);
}

}  // namespace vtclass::joblog
