#ifndef VTCLASS_CLUSTER_ODBC_TEXT_H
#define VTCLASS_CLUSTER_ODBC_TEXT_H

#include "strings/wide_text.h"

namespace vtclass::cluster {

/* The connection string of a database of SQL Server. An empty instance or application is left out;
 * nothing is quoted. */
WideText OdbcText(WideView host, WideView instance, WideView database, WideView application);

}  // namespace vtclass::cluster

#endif
