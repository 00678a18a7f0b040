#include "cluster/odbc_text.h"

namespace vtclass::cluster {

WideText OdbcText(WideView host, WideView instance, WideView database, WideView application) {
  WideText text = VTCLASS_WIDE("DRIVER=SQL Server;SERVER=");
  text += host;
  if (!instance.empty()) text.append(VTCLASS_WIDE("\\")).append(instance);
  text.append(VTCLASS_WIDE(";DATABASE=")).append(database);
  if (!application.empty()) text.append(VTCLASS_WIDE(";App=")).append(application);
  return text;
}

}  // namespace vtclass::cluster
