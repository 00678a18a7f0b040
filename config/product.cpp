#include "vtclass/product.h"

namespace {

// Set once at start by the host, before other threads ask: no lock.
unsigned long selectedProduct = 0;

}  // namespace

void CMS_SetProd(unsigned long value) { selectedProduct = value; }

unsigned long CMS_GetProd() { return selectedProduct; }
