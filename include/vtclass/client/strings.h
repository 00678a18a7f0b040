#ifndef VTCLASS_CLIENT_STRINGS_H
#define VTCLASS_CLIENT_STRINGS_H

/*
 * What vtclass/strings.h compiles into its callers: the strings are filled, and exceptions are
 * thrown, on the side that owns the string. Included by that header.
 */

namespace vtclass::border {

/* The conversions and the filter behind the members and functions of the same sense. `text` may lie
 * in the sink's own string, which is unchanged after a failure. */
VTCLASS_API void ToWide(const WideSink& out, const char* text, std::size_t length,
                        unsigned int codePage, Failure& failure) noexcept;
VTCLASS_API void ToNarrow(const NarrowSink& out, const wchar_t* text, std::size_t length,
                          unsigned int codePage, Failure& failure) noexcept;
VTCLASS_API void ToNarrow(const NarrowSink& out, const wchar_t* text, std::size_t length,
                          unsigned int codePage, char defaultChar, Failure& failure) noexcept;
VTCLASS_API void GuidText(const WideSink& out, const GUID& guid, Failure& failure) noexcept;
VTCLASS_API void FilterXml(wchar_t* buffer, std::size_t capacity, Failure& failure) noexcept;
VTCLASS_API void FilterXml(const WideSink& text, Failure& failure) noexcept;

}  // namespace vtclass::border

inline cstring::cstring(const wcstring& text, codePage cp) : page(cp) {
  assign(text.data(), text.size());
}

inline cstring& cstring::assign(const wchar_t* text, std::size_t length) {
  vtclass::border::Failure failure;
  vtclass::border::ToNarrow(*this, text, length, page, failure);
  failure.Throw();
  return *this;
}

inline cstring& cstring::assign(const wchar_t* text, std::size_t length, char defaultChar) {
  vtclass::border::Failure failure;
  vtclass::border::ToNarrow(*this, text, length, page, defaultChar, failure);
  failure.Throw();
  return *this;
}

inline wcstring::wcstring(const GUID& guid) {
  vtclass::border::Failure failure;
  vtclass::border::GuidText(*this, guid, failure);
  failure.Throw();
}

inline wcstring& wcstring::assign(const char* text, std::size_t length, cstring::codePage cp) {
  vtclass::border::Failure failure;
  vtclass::border::ToWide(*this, text, length, cp, failure);
  failure.Throw();
  return *this;
}

inline wchar_t* makeXmlStrBufferValid(wchar_t* buffer, std::size_t capacity) {
  vtclass::border::Failure failure;
  vtclass::border::FilterXml(buffer, capacity, failure);
  failure.Throw();
  return buffer;
}

inline wcstring& makeXmlStrBufferValid(wcstring& text) {
  vtclass::border::Failure failure;
  vtclass::border::FilterXml(text, failure);
  failure.Throw();
  return text;
}

#endif
