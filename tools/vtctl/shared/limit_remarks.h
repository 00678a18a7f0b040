#ifndef VTCLASS_TOOLS_VTCTL_SHARED_LIMIT_REMARKS_H
#define VTCLASS_TOOLS_VTCTL_SHARED_LIMIT_REMARKS_H

#include <string>
#include <vector>

#include "config/registry_values.h"
#include "log/debug/size_limits.h"

namespace vtctl {

/* Why a debug log goes by something else than a value that limits it says. */
struct LimitRemark {
  const vtclass::config::RegistryValue* value;
  std::wstring text; /* a sentence */
};

/* None while the limits are switched off: nothing goes by the values then. */
std::vector<LimitRemark> RemarksOn(const vtclass::log::SizeSettings& stored);

/* True when the sizes are no limits and their defaults count in their place. */
bool CountSizesByDefault(const vtclass::log::SizeSettings& stored);

/* The values of the logging key as they are stored now; where one is missing, its default. */
vtclass::log::SizeSettings ReadSizeSettings();

}  // namespace vtctl

#endif
