#ifndef VTCLASS_JOBLOG_TAG_SYNTAX_H
#define VTCLASS_JOBLOG_TAG_SYNTAX_H

#include <cstddef>
#include <string>
#include <string_view>

namespace vtclass::joblog {

/* A tag, an entity or a declaration that is longer is none. */
inline constexpr std::size_t kMaxTagUnits = 1024;
inline constexpr std::size_t kMaxNameUnits = 128;
inline constexpr std::size_t kMaxEntityUnits = 10;

struct Tag {
  enum class Kind {
    kNone, /* the text does not begin with a tag */
    kCut,  /* it ends inside what may be one */
    kStart,
    kEmpty,
    kEnd
  };
  Kind kind = Kind::kNone;
  std::size_t length = 0; /* with the brackets */
  std::u16string_view name;
  std::u16string_view type;   /* the first attribute's value */
  std::u16string_view detail; /* the second one's */
};

/* Reads the tag at the beginning of `text`, which begins with "<". */
Tag ParseTag(std::u16string_view text);

/* Reads the entity at the beginning of `text`, which begins with "&": appends its character to
 * `to` and returns its length, or 0 when it is none. */
std::size_t ParseEntity(std::u16string_view text, std::u16string& to);

}  // namespace vtclass::joblog

#endif
