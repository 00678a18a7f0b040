#ifndef VTCLASS_TESTS_SUPPORT_CONVERSION_ROW_H
#define VTCLASS_TESTS_SUPPORT_CONVERSION_ROW_H

#include <gtest/gtest.h>

#include "vtclass/net.h"

/* One question to VTConvertServerNamePlus, and the whole of its answer. */
struct ConversionRow {
  wcstring in;
  int format;
  unsigned long result, status;
  bool isLocal;
  wcstring out;

  /* Of a copy of the library its own function is asked: the one that a header compiles into this
   * program leads to the library that this program is linked with. */
  template <typename Convert = decltype(&vtclass::VTConvertServerNamePlus)>
  void Expect(Convert convert = &vtclass::VTConvertServerNamePlus) const {
    wcstring text = in;  // input and output at once
    bool local = !isLocal;
    unsigned long said = 99;
    EXPECT_EQ(convert(text, text, static_cast<vtclass::_COMPUTER_NAME_FORMAT>(format), true, &local,
                      &said),
              result);
    EXPECT_EQ(said, status);
    EXPECT_EQ(local, isLocal);
    EXPECT_EQ(text, out) << "format " << format;
  }
};

#endif
