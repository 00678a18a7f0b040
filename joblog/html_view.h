#ifndef VTCLASS_JOBLOG_HTML_VIEW_H
#define VTCLASS_JOBLOG_HTML_VIEW_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "joblog/log_event.h"
#include "joblog/tally.h"

namespace vtclass::joblog {

/* Appends UTF-8 text so that it stands for itself in HTML, in an attribute as well. */
void AppendHtml(std::string_view text, std::string& to);

/*
 * Makes one self-contained HTML page of a job log. It refers to nothing outside itself, and its
 * security policy admits its own style and script only. It keeps all events until the page is made,
 * because the summary stands first and each folder tells what it holds.
 */
class HtmlView {
 public:
  explicit HtmlView(std::string fileName);

  void Handle(const Event& event);

  /* The page, in UTF-8. */
  std::string Page(const Tally& tally, std::optional<bool> isOpen);

 private:
  struct Counts {
    std::uint64_t entries = 0;
    std::uint64_t warnings = 0;
    std::uint64_t errors = 0;
  };
  struct Item {
    Event event;
    Counts counts; /* of a set, section or folder: all that is in it */
  };

  void CountGroups();
  void AppendHead(std::string& page) const;
  void AppendSummary(const Tally& tally, std::optional<bool> isOpen, std::string& page) const;
  void AppendGroup(const Item& item, std::string& page) const;

  std::string name;
  std::vector<Item> items;
};

}  // namespace vtclass::joblog

#endif
