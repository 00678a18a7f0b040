#ifndef VTCLASS_TESTS_SUPPORT_ANSWERED_LOOK_UPS_H
#define VTCLASS_TESTS_SUPPORT_ANSWERED_LOOK_UPS_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>

namespace vtclass::test {

/*
 * Lets `lookUp` answer the GetProcAddress calls of a module, the DLL under test unless another is
 * named, for as long as the program runs: an address that the module has bound stays bound. It
 * stands at namespace scope and takes effect before the first test:
 *
 *   [[maybe_unused]] auto* const lookUps = AnswerLookUps(&LookUp);
 */
::testing::Environment* AnswerLookUps(decltype(::GetProcAddress)* lookUp,
                                      const wchar_t* module = L"vtclass_mini.dll");

}  // namespace vtclass::test

#endif
