#ifndef VTCLASS_STRINGS_H
#define VTCLASS_STRINGS_H

#include <vtclass/win32.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>

#include "vtclass/border.h"
#include "vtclass/export.h"

/*
 * The two string classes of every interface, and two helpers.
 *
 * wcstring is UTF-16 text; cstring is 8-bit text in a stated code page. Both are the standard
 * strings with conversions added; everything else (length, append, compare, find, ...) is
 * inherited. Neither has a virtual destructor: do not delete one through a pointer to its standard
 * base.
 *
 * Lengths are counts of units (16-bit units or bytes), never negative, and text may hold zeros.
 * Conversions have no error return: what the platform refuses to convert gives an empty string.
 * When memory runs out they throw std::bad_alloc, for more than 2,147,483,647 units (the platform
 * takes no more at once) std::length_error, and the string keeps its former contents.
 *
 * Threads: like the standard strings; one object belongs to one thread at a time.
 */

class wcstring;

/*
 * 8-bit text in the code page that the object carries.
 *
 * The code page after an operation. What takes the whole of another cstring, bytes and meaning,
 * takes its code page too: copying, moving, assignment and `assign` from a cstring; swapping two of
 * them exchanges the pages with the bytes. Everything else leaves the page as it is. Narrow text
 * that is assigned, appended, inserted, read from a stream or put in place of a part goes in byte
 * by byte and is said to be in this string's page, also where it is a part or the whole of another
 * cstring; swapping with a plain std::string exchanges the bytes. Wide text is converted into the
 * page.
 */
class cstring : public std::string {
 public:
  /* Windows code-page numbers, handed to the platform unchanged. Any other number may be cast. */
  enum codePage : unsigned int {
    acp = 0, /* the system's ANSI code page */
    oem = 1,
    mac = 2,
    threadAcp = 3,
    windows1250 = 1250,
    windows1251 = 1251,
    windows1252 = 1252,
    windows1253 = 1253,
    windows1254 = 1254,
    windows1255 = 1255,
    windows1256 = 1256,
    windows1257 = 1257,
    windows1258 = 1258,
    shiftJis = 932,
    gbk = 936,
    korean = 949,
    big5 = 950,
    usAscii = 20127,
    iso8859_1 = 28591,
    utf8 = 65001
  };

  /* An empty string. */
  explicit cstring(codePage cp = acp) noexcept : page(cp) {}

  /* `text` up to its terminating zero, taken as it is: the bytes are said to be in `cp`.
   * Null counts as empty. */
  cstring(const char* text, codePage cp = acp) : std::string(text ? text : ""), page(cp) {}

  /* `length` bytes of `text`, taken as they are. Requires: `text` is not null unless `length`
   * is 0. */
  cstring(const char* text, std::size_t length, codePage cp = acp)
      : std::string(text ? text : "", length), page(cp) {}

  cstring(const cstring&) = default;
  cstring(cstring&&) noexcept = default;
  cstring& operator=(const cstring&) = default;
  cstring& operator=(cstring&&) noexcept = default;

  /* `text` up to its terminating zero, taken as it is: the bytes are said to be in the page that
   * the string has. Null counts as empty. */
  cstring& operator=(const char* text) {
    std::string::assign(text ? text : "");
    return *this;
  }

  /* `text`, a wcstring or its standard base, converted into the page that the string has. */
  template <typename Text>
    requires std::is_base_of_v<std::wstring, Text>
  cstring& operator=(const Text& text) {
    assign(text.data(), text.size());
    return *this;
  }

  /* The bytes of `other`, read in `cp` from now on; nothing is converted. */
  cstring(const cstring& other, codePage cp) : std::string(other), page(cp) {}

  /* `text` converted into `cp`. */
  cstring(const wcstring& text, codePage cp = acp);

  ~cstring() = default;

  using std::string::assign;
  using std::string::swap;

  /* As operator=: the bytes of `other` and its code page. */
  template <typename Text>
    requires std::is_same_v<Text, cstring>
  cstring& assign(const Text& other) {
    return *this = other;
  }

  /* Exchanges bytes and code pages. */
  void swap(cstring& other) noexcept {
    std::string::swap(other);
    std::swap(page, other.page);
  }

  /*
   * Replaces the contents with `length` units of `text`, converted into this string's code page by
   * the platform (WideCharToMultiByte without flags). What the page cannot hold becomes what the
   * platform puts in its place. `length` 0, or text that the platform refuses, empties the string.
   * Returns the string. `text` may lie in any buffer; it is read before the contents are replaced.
   * Requires: `text` is not null unless `length` is 0.
   */
  cstring& assign(const wchar_t* text, std::size_t length);

  /*
   * The same, with composition of base and combining characters (WC_COMPOSITECHECK) and with
   * `defaultChar` in the place of each character that the code page cannot hold. A code page for
   * which the platform accepts no flags (UTF-8 on most systems) gives an empty string.
   */
  cstring& assign(const wchar_t* text, std::size_t length, char defaultChar);

  /* The code page in which the bytes are to be read. */
  codePage GetCodePage() const noexcept { return page; }

 private:
  codePage page;
};

/* UTF-16 text. */
class wcstring : public std::wstring {
 public:
  wcstring() noexcept = default;

  /* `text` up to its terminating zero; null counts as empty. */
  wcstring(const wchar_t* text) : std::wstring(text ? text : L"") {}

  /* `length` units of `text`. Requires: `text` is not null unless `length` is 0. */
  wcstring(const wchar_t* text, std::size_t length) : std::wstring(text ? text : L"", length) {}

  wcstring(const std::wstring& text) : std::wstring(text) {}
  wcstring(std::wstring&& text) noexcept : std::wstring(std::move(text)) {}

  /* `text`, read in its own code page. */
  explicit wcstring(const cstring& text) { assign(text.data(), text.size(), text.GetCodePage()); }

  /* The bytes of `text`, read in `cp` whatever page they carry. */
  wcstring(const cstring& text, cstring::codePage cp) { assign(text.data(), text.size(), cp); }

  /*
   * The registry form of a GUID: "{", the groups 8-4-4-4-12 in lower-case hexadecimal, "}", 38
   * units together. When the platform cannot make the text the result is "{}".
   */
  explicit wcstring(const GUID& guid);

  wcstring(const wcstring&) = default;
  wcstring(wcstring&&) noexcept = default;
  wcstring& operator=(const wcstring&) = default;
  wcstring& operator=(wcstring&&) noexcept = default;
  ~wcstring() = default;

  using std::wstring::assign;

  /*
   * Replaces the contents with `length` bytes of `text`, read in code page `cp` by the platform
   * (MultiByteToWideChar without flags). `length` 0, an unknown code page, or text that the
   * platform refuses, empties the string. Returns the string.
   * Requires: `text` is not null unless `length` is 0.
   */
  wcstring& assign(const char* text, std::size_t length, cstring::codePage cp);
};

/*
 * Compares two characters without regard to case, in the order of the system's locale: 0 when they
 * are equal, negative when `a` sorts first, positive otherwise. Zero sorts before every other
 * character. When the platform refuses the comparison the result is -2: a difference.
 * The 8-bit form reads its characters in the system's ANSI code page, as unsigned bytes.
 * The platform is asked once for each pair of characters below 128, and its answer remembered: the
 * system's locale does not change while a process runs.
 * Threads: any.
 */
VTCLASS_API int comparei(wchar_t a, wchar_t b);
VTCLASS_API int comparei(char a, char b);

/*
 * Rewrites `buffer` in place into text that may stand in an XML document, and returns `buffer`.
 * Reads up to the terminating zero and never beyond `capacity` units; writes at most `capacity`
 * units, the terminating zero among them. `capacity` 0 leaves the buffer alone.
 *
 * Dropped: control characters other than tab, line feed and carriage return; U+007F to U+009F
 * except NEL (U+0085); surrogates, and with them every character outside the basic plane; U+FD00 to
 * U+FDEF; U+FFFE and U+FFFF. Escaped: & < > " ' as &amp; &lt; &gt; &quot; &apos;.
 *
 * Contract: the dropped range begins at U+FD00, wider than the block of non-characters that it
 * ends with (U+FDD0 to U+FDEF). Documents written so far hold no character of the range; a narrower
 * filter would make equal texts differ between releases.
 * Contract: an entity that does not fit ends the text, while an ordinary character that does not
 * fit is skipped; so the result never holds a cut entity.
 *
 * Text that is already clean is only read. Long text that must change is copied first: when memory
 * runs out, std::bad_alloc, and the buffer is unchanged. Units behind the new terminating zero hold
 * nothing of meaning.
 * Requires: `buffer` has `capacity` units, all of which may be read; null only with `capacity` 0.
 */
inline wchar_t* makeXmlStrBufferValid(wchar_t* buffer, std::size_t capacity);

/*
 * The same filter and escaping for a whole string without a limit; rewrites `text` and returns it.
 * An embedded zero is dropped like any other control character. On std::bad_alloc `text` is
 * unchanged.
 */
inline wcstring& makeXmlStrBufferValid(wcstring& text);

#include "vtclass/client/strings.h"

#endif
