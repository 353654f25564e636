// SPDX-License-Identifier: MIT
//
// What one call may spend on a file. Directories may be named again and again, and blocks may
// overlap: a file of some hundred KiB can describe hours of work. Honest files stay far below these
// figures; what a crafted one asks for beyond them is ignored.

#ifndef CELUMBRANT_WORK_BUDGET_H_
#define CELUMBRANT_WORK_BUDGET_H_

#include <cstdint>

#include "file_window.h"

namespace celumbrant {

// Three directories, each with an EXIF and a GPS directory, all filled to their 65,535 entries,
// have 589,815.
inline constexpr int kMostEntries = 600'000;
// A miss of the window costs a thousand times what an entry costs. Honest files need a dozen.
inline constexpr int kMostRefills = 200'000;
// What the search for one tag may read in a chain of directories.
inline constexpr int kMostChainEntries = 2'000'000;
inline constexpr int kMostChainDirectories = 65'536;
// Photoshop resources seldom take a MiB. Beyond this no further ones are read; directories still are,
// since an editor may leave one block of any size.
inline constexpr std::int64_t kMostResourceBytes = std::int64_t{64} << 20;

class WorkBudget {
 public:
  explicit WorkBudget(const FileWindow& file) : file_(file) {}

  void charge_entry() { ++entries_; }
  void charge_resource(std::int64_t bytes) { resource_bytes_ += bytes; }

  bool spent() const { return entries_ >= kMostEntries || file_.refills() >= kMostRefills; }
  bool spent_on_resources() const { return resource_bytes_ >= kMostResourceBytes; }

 private:
  const FileWindow& file_;
  int entries_ = 0;
  std::int64_t resource_bytes_ = 0;
};

}  // namespace celumbrant

#endif  // CELUMBRANT_WORK_BUDGET_H_
