#ifndef VTCLASS_EXPORT_H
#define VTCLASS_EXPORT_H

/*
 * VTCLASS_API marks what vtclass_mini.dll exports. Nothing else is exported: the checked-in list
 * tests/exports.txt is compared with the DLL's export table in every test run.
 *
 * The classes of the library hold standard library types (std::wstring, std::vector). A caller must
 * therefore be built with the same compiler family and the same standard library as the DLL.
 * Exceptions of the standard library (std::bad_alloc, std::length_error) cross the DLL's border.
 */
#if defined(VTCLASS_MINI_BUILD)
#define VTCLASS_API __declspec(dllexport)
#else
#define VTCLASS_API __declspec(dllimport)
#endif

#endif
