#ifndef VTCLASS_STRINGS_CODE_PAGE_H
#define VTCLASS_STRINGS_CODE_PAGE_H

namespace vtclass::strings {

/*
 * True when the bytes 0 to 127 and the units 0 to 127 stand for each other in the code page, each
 * by itself and with any conversion flags that the page takes, so that such text needs no
 * conversion by the platform. False for every page of which that is not certain: stateful pages
 * (UTF-7, ISO-2022, HZ), EBCDIC, symbols, pages with a won or percent sign in another place, and
 * numbers that name no page.
 */
bool HoldsAscii(unsigned int codePage) noexcept;

/* The same, and the page takes the flags and the default character of cstring::assign. UTF-8 takes
 * neither: the platform refuses such a conversion whatever the text. */
bool HoldsAsciiWithDefaultChar(unsigned int codePage) noexcept;

}  // namespace vtclass::strings

#endif
