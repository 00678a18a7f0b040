#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_LIBRARIES_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_LIBRARIES_CHECK_H

#include <string>
#include <vector>

#include "tools/vtctl/doctor/finding.h"

namespace vtctl::doctor {

/* A library that belongs to the product's, as it was found. */
struct LibraryState {
  std::wstring name; /* "vtsocket.dll" */
  std::wstring path; /* in full */
  enum Part { companion, messages, chosenLanguage, otherLanguage } part = companion;
  unsigned long error = 0; /* why it cannot be loaded */
  std::wstring version;    /* "0.1.0.0"; empty when it tells none */
  bool isStranger = false; /* it lacks what is looked for in it: functions, or message texts */
};

/* `version`: the one of vtclass_mini.dll, which all should have. */
Finding JudgeLibrary(const LibraryState& library, const std::wstring& version);

/* What lies, and what should lie, in the folder with its backslash. `language`: the two letters
 * that are chosen; empty for none. */
std::vector<LibraryState> LibrariesIn(const std::wstring& folder, const std::wstring& language);

/* A problem for each of the libraries, beside vtclass_mini.dll, with which that looks for names,
 * addresses and clusters, that it cannot use: without them its answers are none. Nothing where all
 * can be used. */
Findings WithoutNetLibraries();

/* vtclass_mini.dll as this program has loaded it: its path. */
std::wstring LibraryFile();

/* "0.1.0.0" of a file; empty when it tells none. */
std::wstring FileVersion(const std::wstring& path);

}  // namespace vtctl::doctor

#endif
