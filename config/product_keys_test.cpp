#include "config/product_keys.h"

#include <gtest/gtest.h>

#include <string>

#include "vtclass/product.h"

TEST(ProductKeys, EveryPath_LiesUnderTheRootOfTheSelectedProduct) {
  using namespace vtclass::config;
  for (const unsigned long product : {1ul, 2ul, 0ul}) {
    CMS_SetProd(product);
    const std::wstring root = kProductRoot.Path();
    EXPECT_EQ(root.find(L"Quorrel") != std::wstring::npos, product == 1);
    for (const ProductKey& key :
         {kLoggingKey, kDebugKey, kTcpIpKey, kAgentsKey, kOracleAgentKey, kSessionKey}) {
      EXPECT_EQ(std::wstring(key.Path()).find(root + L"\\"), 0u);
    }
  }
}
