#ifndef VTCLASS_JOBLOG_LOG_EVENT_H
#define VTCLASS_JOBLOG_LOG_EVENT_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace vtclass::joblog {

/* A place in the file. The offset counts bytes from 0; line and column count from 1, a column being
 * one character unit of the file (two bytes in UTF-16, one byte in ANSI). */
struct Position {
  std::uint64_t offset = 0;
  std::uint64_t line = 1;
  std::uint64_t column = 1;
};

enum class Encoding { kUtf16, kAnsi };

/* In rising order: the worst of several is the largest. */
enum class Severity { kInfo, kRecommendation, kWarning, kError };

enum class EventKind {
  kDocument,    /* a job log begins; text is its version */
  kSet,         /* a set begins; number counts the sets of the document */
  kSection,     /* any other element that holds elements */
  kFolder,      /* text is the path; what follows at a greater depth belongs to it */
  kEntry,       /* a message */
  kDamage,      /* text says what is wrong at this place */
  kDocumentEnd, /* text says how it ended when it was not closed */
};

enum class Beginning {
  kWhole,   /* the XML header and "<joblog>" */
  kWrapped, /* the front was cut away when the file outgrew its limit */
  kNoHeader /* content that follows the end of another document without a header */
};

/* One thing that the reader found. Texts are UTF-8 and may hold any character of the log, control
 * characters included. */
struct Event {
  EventKind kind = EventKind::kEntry;
  Position at;
  std::uint64_t document = 0; /* from 1 */
  std::uint64_t number = 0;
  std::size_t depth = 0; /* how many sets, sections and folders enclose it */
  Severity severity = Severity::kInfo;
  Encoding encoding = Encoding::kUtf16;
  Beginning beginning = Beginning::kWhole;
  bool closed = false;    /* kDocumentEnd: "</joblog>" was there */
  bool continued = false; /* more text of the element of an entry before; not to be counted again */
  bool partial = false;   /* the text's beginning or end is missing */
  std::string element;    /* the tag's name; empty for text that stands in no element */
  std::string type;       /* the first attribute's value, such as "access_denied" */
  std::string detail;     /* the second attribute's value */
  std::string code;       /* the unique message identifier, such as "Q-79-57344-33928" */
  std::string text;
};

}  // namespace vtclass::joblog

#endif
