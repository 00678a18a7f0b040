#ifndef VTCLASS_CLIENT_DATE_TIME_H
#define VTCLASS_CLIENT_DATE_TIME_H

#include <utility>

/*
 * What vtclass/date_time.h compiles into its callers: texts are filled on the side that owns them.
 * Included by that header.
 */

namespace vtclass::border {

/* The texts behind FormatDate and FormatTime; `flags` as the system's calls take them. */
VTCLASS_API void DateText(const WideSink& out, const DateTime& time, unsigned long flags) noexcept;
VTCLASS_API void DateText(const NarrowSink& out, const DateTime& time,
                          unsigned long flags) noexcept;
VTCLASS_API void TimeText(const WideSink& out, const DateTime& time, unsigned long flags) noexcept;
VTCLASS_API void TimeText(const NarrowSink& out, const DateTime& time,
                          unsigned long flags) noexcept;

inline unsigned long DateFlags(int longDate) noexcept {
  return longDate ? DATE_LONGDATE : DATE_SHORTDATE;
}

}  // namespace vtclass::border

inline wcstring& DateTime::FormatDate(wcstring& out, int longDate) const noexcept {
  vtclass::border::DateText(out, *this, vtclass::border::DateFlags(longDate));
  return out;
}

inline cstring& DateTime::FormatDate(cstring& out, int longDate) const noexcept {
  cstring text;  // in the ANSI code page, whatever `out` was in
  vtclass::border::DateText(text, *this, vtclass::border::DateFlags(longDate));
  return out = std::move(text);
}

inline wcstring& DateTime::FormatTime(wcstring& out, unsigned flags) const noexcept {
  vtclass::border::TimeText(out, *this, flags);
  return out;
}

inline cstring& DateTime::FormatTime(cstring& out, unsigned flags) const noexcept {
  cstring text;
  vtclass::border::TimeText(text, *this, flags);
  return out = std::move(text);
}

#endif
