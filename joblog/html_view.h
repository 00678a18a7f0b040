#ifndef VTCLASS_JOBLOG_HTML_VIEW_H
#define VTCLASS_JOBLOG_HTML_VIEW_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "joblog/log_event.h"
#include "joblog/summary.h"

namespace vtclass::joblog {

/* Appends UTF-8 text so that it stands for itself in HTML, in an attribute as well. */
void AppendHtml(std::string_view text, std::string& to);

/*
 * Makes one self-contained HTML page of job logs. It refers to nothing outside itself, and its
 * security policy admits its own style and script only. The verdict and its reasons stand first and
 * need no script. The entries are data, a JSON array of texts a line, of which the page's script
 * shows those that are looked at: a browser would take minutes for half a million elements. They
 * are kept in that form until the page is made.
 */
class HtmlView {
 public:
  explicit HtmlView(std::string pageTitle);

  /* What comes is of this file. */
  void BeginFile(const std::string& name);
  void Handle(const Event& event);
  /* A log that belongs here could not be read. */
  void NotRead(const std::string& name) { notRead.push_back(name); }
  void LeftOut(std::uint64_t entries, std::uint64_t wholeJobs) {
    summary.LeftOut(entries, wholeJobs);
  }

  /* The page, in UTF-8. `isOpen` as for EndingText, of the last file. */
  std::string Page(std::optional<bool> isOpen) const;

 private:
  void AddEntry(const Event& entry, std::string& to) const;

  std::string title;
  std::string file;
  Summary summary;
  std::vector<std::string> notRead;
  std::string rows;
  std::string settings; /* rows of the document that stand at its end */
};

}  // namespace vtclass::joblog

#endif
