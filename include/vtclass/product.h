#ifndef VTCLASS_PRODUCT_H
#define VTCLASS_PRODUCT_H

#include "vtclass/export.h"

/*
 * The product switch: one 32-bit value for the whole process, 0 at start. The value 1 selects the
 * sibling product, every other value the default product. All registry paths of the library follow
 * it from the next time they are built.
 *
 * Threads: not locked. The host process sets it once at start, before it uses the library.
 */
VTCLASS_API void CMS_SetProd(unsigned long value);

/* The value last given to CMS_SetProd, 0 before. Never fails. */
VTCLASS_API unsigned long CMS_GetProd();

#endif
