#include "config/product_keys.h"

#include "vtclass/product.h"

namespace vtclass::config {

namespace {

constexpr unsigned long kSiblingProduct = 1;

const wchar_t* OfProduct(const wchar_t* product, const wchar_t* sibling) noexcept {
  return CMS_GetProd() == kSiblingProduct ? sibling : product;
}

}  // namespace

const wchar_t* ProductRoot() noexcept {
  return OfProduct(L"Software\\Norvane\\Vantorel For Windows\\Vantorel",
                   L"Software\\Quorrel\\Strandel\\VTDS");
}

const wchar_t* LoggingKey() noexcept {
  return OfProduct(L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Engine\\Logging",
                   L"Software\\Quorrel\\Strandel\\VTDS\\Engine\\Logging");
}

const wchar_t* DebugKey() noexcept {
  return OfProduct(DefaultProductDebugKey(), L"Software\\Quorrel\\Strandel\\VTDS\\Debug");
}

const wchar_t* DefaultProductDebugKey() noexcept {
  return L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Debug";
}

const wchar_t* TcpIpKey() noexcept {
  return OfProduct(L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Network\\TcpIp",
                   L"Software\\Quorrel\\Strandel\\VTDS\\Network\\TcpIp");
}

const wchar_t* AgentsKey() noexcept {
  return OfProduct(L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Engine\\Agents",
                   L"Software\\Quorrel\\Strandel\\VTDS\\Engine\\Agents");
}

const wchar_t* OracleAgentKey() noexcept {
  return OfProduct(L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Engine\\Agents\\Oracle",
                   L"Software\\Quorrel\\Strandel\\VTDS\\Engine\\Agents\\Oracle");
}

const wchar_t* ProductDatabaseKey() noexcept {
  return L"Software\\Norvane\\Vantorel For Windows\\Pordex";
}

const wchar_t* VTDatabaseKey() noexcept {
  return L"SOFTWARE\\Norvane\\Vantorel For Windows\\VTDatabase";
}

}  // namespace vtclass::config
