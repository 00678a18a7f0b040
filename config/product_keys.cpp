#include "config/product_keys.h"

#include "vtclass/product.h"

namespace vtclass::config {

const wchar_t* ProductKey::Path() const noexcept {
  constexpr unsigned long kSiblingProduct = 1;
  return CMS_GetProd() == kSiblingProduct ? ofSibling : ofProduct;
}

}  // namespace vtclass::config
