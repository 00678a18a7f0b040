#include "config/product_keys.h"

#include <gtest/gtest.h>

#include <string>

#include "vtclass/product.h"

TEST(ProductKeys, EveryPath_LiesUnderTheRootOfTheSelectedProduct) {
  using namespace vtclass::config;
  for (const unsigned long product : {1ul, 2ul, 0ul}) {
    CMS_SetProd(product);
    const std::wstring root = ProductRoot();
    EXPECT_EQ(root.find(L"Quorrel") != std::wstring::npos, product == 1);
    for (const auto key : {&LoggingKey, &DebugKey, &TcpIpKey, &AgentsKey, &OracleAgentKey}) {
      EXPECT_EQ(std::wstring(key()).find(root + L"\\"), 0u);
    }
  }
}
