#ifndef VTCLASS_NET_NOTED_H
#define VTCLASS_NET_NOTED_H

#include "platform/steps.h"
#include "vtclass/net.h"

/* The functions of these names (vtclass/net.h), which note the steps of IsThisMeEx. */
namespace vtclass::net {

using platform::Steps;

unsigned long VTConvertServerNamePlus(const wcstring& in, wcstring& out,
                                      _COMPUTER_NAME_FORMAT format, bool clusterAware,
                                      bool* isLocal, unsigned long* status, const Steps& steps);
unsigned long IsThisAnAliasForMe(const char* name, bool* isMe, const unsigned long* timeout,
                                 const Steps& steps);
unsigned long IsThisAnAliasForMe(const wchar_t* name, bool* isMe, const unsigned long* timeout,
                                 const Steps& steps);

}  // namespace vtclass::net

#endif
