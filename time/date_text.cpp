#include <vtclass/win32.h>

#include <cstring>

#include "vtclass/date_time.h"

namespace vtclass::border {

namespace {

template <typename Unit>
using Format = int(WINAPI*)(LCID, DWORD, const SYSTEMTIME*, const Unit* picture, Unit*, int);

template <typename Unit>
void Fill(const TextSink<Unit>& out, Format<Unit> format, const DateTime& time,
          DWORD flags) noexcept {
  // Where there is no time the system is to refuse these: zeros would be midnight to it.
  SYSTEMTIME fields;
  std::memset(&fields, 0xFF, sizeof fields);
  time.GetDateTime(fields);
  const auto formatInto = [&](Unit* text, int room) {
    return format(LOCALE_USER_DEFAULT, flags, &fields, nullptr, text, room);
  };
  // Into the string itself, which holds the terminating zero for the moment.
  const int length = formatInto(nullptr, 0);
  Unit* const text = length > 0 ? out.Resize(static_cast<std::size_t>(length)) : nullptr;
  const int written = text ? formatInto(text, length) : 0;
  out.Resize(written > 0 ? static_cast<std::size_t>(written) - 1 : 0);
}

}  // namespace

void DateText(const WideSink& out, const DateTime& time, unsigned long flags) noexcept {
  Fill<wchar_t>(out, &::GetDateFormatW, time, flags);
}

void DateText(const NarrowSink& out, const DateTime& time, unsigned long flags) noexcept {
  Fill<char>(out, &::GetDateFormatA, time, flags);
}

void TimeText(const WideSink& out, const DateTime& time, unsigned long flags) noexcept {
  Fill<wchar_t>(out, &::GetTimeFormatW, time, flags);
}

void TimeText(const NarrowSink& out, const DateTime& time, unsigned long flags) noexcept {
  Fill<char>(out, &::GetTimeFormatA, time, flags);
}

}  // namespace vtclass::border
