#ifndef VTCLASS_TOOLS_VTCTL_VOLUMES_VOLUME_TEXT_H
#define VTCLASS_TOOLS_VTCTL_VOLUMES_VOLUME_TEXT_H

#include <string>
#include <vector>

#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/volume.h"

/* Volumes as people, scripts and spreadsheets read them. */
namespace vtctl {

/* One volume over several lines of at most so many columns; only a path or a name that is longer
 * itself goes beyond. */
std::wstring Block(const Volume& volume, size_t columns, bool colours);

/* `C:\ "System", NTFS, 68.9 GB free of 107.3 GB`, or why it cannot be reached: one line. */
std::wstring Line(const Volume& volume);

/* The path by which a volume is known, or its name when nothing leads to it. */
std::wstring ShownPlace(const Volume& volume);

/* "5 volumes, 1 of them cannot be reached" */
std::wstring CountText(const std::vector<Volume>& volumes);

Json ToJson(const Volume& volume);

/* A head line, then a line a volume, by RFC 4180. The columns are the members of the JSON object;
 * several paths of a volume stand in one field with "|" between them, which is in no path. A text
 * that a spreadsheet would compute gets an apostrophe in front. */
std::wstring Csv(const std::vector<Volume>& volumes);

}  // namespace vtctl

#endif
