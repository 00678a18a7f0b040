#ifndef VTCLASS_VTCLASS_H
#define VTCLASS_VTCLASS_H

/* Every header of the library. */
#include "vtclass/agent.h"
#include "vtclass/cluster.h"
#include "vtclass/com_environment.h"
#include "vtclass/config.h"
#include "vtclass/crypto.h"
#include "vtclass/date_time.h"
#include "vtclass/debug_log.h"
#include "vtclass/export.h"
#include "vtclass/log.h"
#include "vtclass/monitor.h"
#include "vtclass/net.h"
#include "vtclass/product.h"
#include "vtclass/ref_pointer.h"
#include "vtclass/replication.h"
#include "vtclass/security.h"
#include "vtclass/settings_monitor.h"
#include "vtclass/steps.h"
#include "vtclass/strings.h"
#include "vtclass/threads.h"
#include "vtclass/volumes.h"

#endif
