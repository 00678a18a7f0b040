#ifndef VTCLASS_TOOLS_VTCTL_SHARED_EXIT_CODE_H
#define VTCLASS_TOOLS_VTCTL_SHARED_EXIT_CODE_H

namespace vtctl {

/* What a script may rely on. The first three tell the worst finding of the data that was read. */
enum ExitCode : int {
  kExitClean = 0,
  kExitWarnings = 1,
  kExitErrors = 2,
  kExitUsage = 64,          /* the command line is wrong */
  kExitBadInput = 65,       /* the input is no job log, no value of that type, ... */
  kExitNoInput = 66,        /* the input is missing or may not be read */
  kExitNotThisMachine = 68, /* the name denotes another machine, or no host */
  kExitNoAnswer = 69,       /* a name server or another service gives no answer */
  kExitInternal = 70,       /* vtctl itself failed */
  kExitCannotWrite = 73,    /* an output cannot be made or written */
  kExitCancelled = 130      /* the operator pressed Ctrl+C */
};

}  // namespace vtctl

#endif
