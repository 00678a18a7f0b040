#ifndef VTCLASS_JOBLOG_PAGE_PARTS_H
#define VTCLASS_JOBLOG_PAGE_PARTS_H

#include <string_view>

namespace vtclass::joblog {

/* page.css and page.js, and the hashes by which the page's security policy knows them. */
extern const std::string_view kPageStyle;
extern const std::string_view kPageStyleHash;
extern const std::string_view kPageScript;
extern const std::string_view kPageScriptHash;

}  // namespace vtclass::joblog

#endif
