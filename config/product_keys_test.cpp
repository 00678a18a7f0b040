#include "config/product_keys.h"

#include <gtest/gtest.h>

#include <string>

#include "vtclass/product.h"

namespace {

TEST(ProductKeys, EveryPath_LiesUnderTheRootOfTheSelectedProduct) {
  using namespace vtclass::config;
  for (const unsigned long product : {0ul, 1ul, 2ul, 0xFFFFFFFFul}) {
    CMS_SetProd(product);
    const std::wstring root = ProductRoot();
    EXPECT_EQ(root, product == 1 ? L"Software\\Quorrel\\Strandel\\VTDS"
                                 : L"Software\\Norvane\\Vantorel For Windows\\Vantorel");
    EXPECT_EQ(LoggingKey(), root + L"\\Engine\\Logging");
    EXPECT_EQ(DebugKey(), root + L"\\Debug");
    EXPECT_EQ(TcpIpKey(), root + L"\\Network\\TcpIp");
    EXPECT_EQ(AgentsKey(), root + L"\\Engine\\Agents");
  }
  CMS_SetProd(0);
}

}  // namespace
