#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_CLUSTER_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_CLUSTER_CHECK_H

#include "tools/vtctl/doctor/finding.h"
#include "tools/vtctl/shared/applications.h"
#include "tools/vtctl/shared/cluster_answers.h"

namespace vtctl::doctor {

Finding JudgeCluster(const ClusterAnswers& answers);

/* SQL Server or Exchange on this machine. */
Finding JudgeApplication(const Application& application);

}  // namespace vtctl::doctor

#endif
