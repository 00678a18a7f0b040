#include "tools/vtctl/volumes/volume_text.h"

#include <algorithm>
#include <utility>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/csv.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

constexpr size_t kIndent = 4;
constexpr int kBarColumns = 32;
constexpr int kLeastBarColumns = 12;

struct TypeName {
  const wchar_t* shown;
  const char* word;  // for scripts
};
// In the order of Volume::Type.
constexpr TypeName kTypes[] = {{L"unknown drive", "unknown"}, {L"removable", "removable"},
                               {L"fixed", "fixed"},           {L"network", "network"},
                               {L"CD-ROM", "cdrom"},          {L"RAM disk", "ramdisk"}};

// What the system's words do not tell people.
struct KnownReason {
  unsigned long error;
  const wchar_t* words;
};
constexpr unsigned long kNotReady = 21;
constexpr unsigned long kUnrecognizedVolume = 1005;
constexpr KnownReason kReasons[] = {
    {kNotReady, L"no medium is in the drive"},
    {kUnrecognizedVolume,
     L"no file system that this system knows: not formatted, encrypted or damaged"}};

std::wstring Coloured(const std::wstring& text, const wchar_t* colour, bool colours) {
  return colours ? colour + text + L"\x1b[0m" : text;
}

std::wstring ErrorText(const Volume& volume) {
  for (const KnownReason& row : kReasons) {
    if (row.error == volume.error) return row.words + (L" (" + std::to_wstring(row.error) + L")");
  }
  return SystemText(volume.error);
}

std::wstring Reason(const Volume& volume) {
  return L"cannot be reached: " + Printable(ErrorText(volume));
}

// "4 KB": sizes of disks' units are whole ones.
std::wstring UnitSize(unsigned long bytes) {
  std::wstring text = WithUnit(bytes);
  const size_t tenths = text.find(L".0 ");
  if (tenths != std::wstring::npos) text.erase(tenths, 2);
  return text;
}

std::wstring FreeText(const Volume& volume) {
  return WithUnit(volume.freeSpace) + L" free of " + WithUnit(volume.totalSpace);
}

std::wstring FileSystemText(const Volume& volume) {
  return volume.fileSystem.empty() ? L"no file system" : Printable(volume.fileSystem);
}

std::wstring WritableText(const Volume& volume) {
  if (!volume.isWritable) return L"writing not tested";
  if (*volume.isWritable) return L"writable";
  return L"not writable: " + Printable(SystemText(volume.writeError));
}

// Sets the parts of a sentence into lines, each behind the indent; a part is never broken.
std::wstring Lines(std::vector<std::wstring> parts, size_t columns) {
  std::erase(parts, L"");
  std::wstring text;
  size_t used = columns;  // a part always begins the first line
  for (size_t i = 0; i < parts.size(); ++i) {
    const std::wstring part = parts[i] + (i + 1 < parts.size() ? L"," : L"");
    const size_t width = ColumnsOf(part);
    // The last column stays free: writing there would move to the next line.
    const bool fits = used + 1 + width < columns;
    text += fits ? L" " : (text.empty() ? L"" : L"\n") + std::wstring(kIndent, L' ');
    text += part;
    used = fits ? used + 1 + width : kIndent + width;
  }
  return text + L"\n";
}

std::wstring Title(const Volume& volume) {
  std::wstring title = L"(no drive letter, no folder)";
  if (!volume.paths.empty()) title = Printable(volume.paths.front());
  if (!volume.label.empty()) title += L"  \"" + Printable(volume.label) + L"\"";
  return title + L"\n";
}

std::wstring OtherPaths(const Volume& volume) {
  std::wstring text;
  for (size_t i = 1; i < volume.paths.size(); ++i) {
    text += std::wstring(kIndent, L' ') + L"also " + Printable(volume.paths[i]) + L"\n";
  }
  return text;
}

// The colour is put around the bar at the end: it takes no columns.
std::wstring SpaceLines(const Volume& volume, size_t columns, bool colours) {
  constexpr int kAroundBar = kIndent + 7;  // " used," and the last column
  const int room = static_cast<int>(columns) - kAroundBar;
  const double part = OccupiedPart(volume);
  const std::wstring bar = ProgressBar(part, std::clamp(room, kLeastBarColumns, kBarColumns));
  std::wstring quota;
  if (volume.freeSpaceToUser < volume.freeSpace) {
    quota = WithUnit(volume.freeSpaceToUser) + L" of it for this account";
  }
  std::wstring text = Lines({bar + L" used", FreeText(volume), quota}, columns);
  if (part >= kNearlyFull) {
    text.replace(text.find(bar), bar.size(), Coloured(bar, L"\x1b[33m", colours));
  }
  return text;
}

std::wstring Facts(const Volume& volume, size_t columns) {
  const std::wstring shared =
      volume.isClusterShared ? L"shared by the cluster" : L"not cluster shared";
  if (!volume.IsReached()) return Lines({kTypes[volume.type].shown, shared}, columns);
  return Lines(
      {FileSystemText(volume), kTypes[volume.type].shown, WritableText(volume), shared,
       UnitSize(volume.clusterSize) + L" clusters", UnitSize(volume.sectorSize) + L" sectors"},
      columns);
}

Json NumberOrNull(const Volume& volume, uint64_t number) {
  return volume.IsReached() ? Json(number) : Json();
}

}  // namespace

std::wstring Block(const Volume& volume, size_t columns, bool colours) {
  std::wstring text = Title(volume) + OtherPaths(volume);
  if (volume.IsReached()) {
    text += SpaceLines(volume, columns, colours);
  } else {
    const std::wstring reason = Coloured(Reason(volume), L"\x1b[31m", colours);
    text += std::wstring(kIndent, L' ') + reason + L"\n";
  }
  text += Facts(volume, columns);
  if (!volume.paths.empty() && volume.paths.front() == volume.name) return text;
  return text + std::wstring(kIndent, L' ') + Printable(volume.name) + L"\n";
}

std::wstring ShownPlace(const Volume& volume) {
  return Printable(volume.paths.empty() ? volume.name : volume.paths.front());
}

std::wstring Line(const Volume& volume) {
  std::wstring text = ShownPlace(volume);
  if (!volume.IsReached()) return text + L"  " + Reason(volume);
  if (!volume.label.empty()) text += L"  \"" + Printable(volume.label) + L"\"";
  return text + L"  " + FileSystemText(volume) + L", " + FreeText(volume);
}

std::wstring CountText(const std::vector<Volume>& volumes) {
  const auto unreached = std::ranges::count_if(volumes, [](auto& one) { return !one.IsReached(); });
  std::wstring text =
      std::to_wstring(volumes.size()) + (volumes.size() == 1 ? L" volume" : L" volumes");
  if (unreached > 0) text += L", " + std::to_wstring(unreached) + L" of them cannot be reached";
  return text;
}

Json ToJson(const Volume& volume) {
  Json paths = Json::array();
  for (const std::wstring& path : volume.paths) paths.push_back(ToUtf8(path));
  Json json = {{"name", ToUtf8(volume.name)},
               {"paths", paths},
               {"type", kTypes[volume.type].word},
               {"fileSystem", TextOrNull(volume.fileSystem)},
               {"label", TextOrNull(volume.label)},
               {"totalSpace", NumberOrNull(volume, volume.totalSpace)},
               {"freeSpace", NumberOrNull(volume, volume.freeSpace)},
               {"freeSpaceToUser", NumberOrNull(volume, volume.freeSpaceToUser)},
               {"occupiedSpace", NumberOrNull(volume, volume.occupiedSpace)},
               {"clusterSize", NumberOrNull(volume, volume.clusterSize)},
               {"sectorSize", NumberOrNull(volume, volume.sectorSize)},
               {"writable", nullptr},
               {"writeError", nullptr},
               {"writeStatus", nullptr},
               {"clusterShared", volume.isClusterShared},
               {"reached", volume.IsReached()}};
  AddStatus(json, volume.error);
  if (!volume.IsReached()) json["error"] = ToUtf8(ErrorText(volume));
  if (volume.isWritable) json["writable"] = *volume.isWritable;
  if (volume.writeError != 0) {
    json["writeError"] = ToUtf8(SystemText(volume.writeError));
    json["writeStatus"] = volume.writeError;
  }
  return json;
}

std::wstring Csv(const std::vector<Volume>& volumes) {
  Json rows = Json::array();
  for (const Volume& volume : volumes) rows.push_back(ToJson(volume));
  return vtctl::Csv(ToJson(Volume()), rows);
}

}  // namespace vtctl
