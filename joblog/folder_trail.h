#ifndef VTCLASS_JOBLOG_FOLDER_TRAIL_H
#define VTCLASS_JOBLOG_FOLDER_TRAIL_H

#include <cstddef>
#include <string>
#include <vector>

#include "joblog/log_event.h"

namespace vtclass::joblog {

/* Tells of each event in which folder it stands. */
class FolderTrail {
 public:
  void Handle(const Event& event) {
    if (event.kind == EventKind::kDamage) return;
    while (!folders.empty() && folders.back().depth >= event.depth) folders.pop_back();
    if (event.kind != EventKind::kFolder) return;
    // No system has longer paths, and a view may repeat them with each entry.
    folders.push_back({event.depth, event.text.size() <= kMaxPathBytes ? event.text : ""});
  }

  /* The path of the innermost folder, itself when the last event was one; empty outside. */
  const std::string& Path() const { return folders.empty() ? none : folders.back().path; }

 private:
  static constexpr std::size_t kMaxPathBytes = 98'304;
  struct Folder {
    std::size_t depth;
    std::string path;
  };
  std::vector<Folder> folders;
  std::string none;
};

}  // namespace vtclass::joblog

#endif
