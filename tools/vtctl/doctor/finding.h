#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_FINDING_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_FINDING_H

#include <string>
#include <vector>

namespace vtctl::doctor {

/* From good to bad. A note is worth knowing and asks for nothing. */
enum class Verdict { ok, note, warning, problem };

// NOLINTBEGIN(readability-redundant-member-init): a finding names those members that it has
/* One thing that was looked at. */
struct Finding {
  Verdict verdict = Verdict::ok;
  const char* code = "";    /* what scripts know it by: it stays the same in all releases */
  std::wstring what = {};   /* a sentence */
  std::wstring reason = {}; /* why it matters, or how it comes; empty where all is well */
  std::wstring remedy = {}; /* what to do; empty where there is nothing */
  std::wstring path = {};   /* of the key, file or folder; empty where it is about none */
  unsigned long status = 0; /* of the system, where it refused something */
};

// NOLINTEND(readability-redundant-member-init)
using Findings = std::vector<Finding>;

/* Whether the system says that a key, value or file is not there. Every other refusal leaves open
 * what is there, and is no good verdict. */
constexpr bool IsMissing(unsigned long status) {
  return status == 2 || status == 3;  // of a file or value, of a path
}

/* What helps whom the system refuses a key. */
inline constexpr const wchar_t* kLetRead =
    L"Run this as the agents' account; if that is this one, let it read the key.";

/* From so many milliseconds on an answer is a slow one. */
inline constexpr unsigned long kSlowAnswer = 1000;

/* `ok` for none. */
Verdict Worst(const Findings& findings);

/* kExitClean for ok and notes, kExitWarnings, kExitErrors. */
int ExitCodeOf(Verdict worst);

}  // namespace vtctl::doctor

#endif
