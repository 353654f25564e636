// SPDX-License-Identifier: MIT
//
// An EXIF block in a JPEG file.

#ifndef CELUMBRANT_TOOLS_JPEG_SEGMENTS_H_
#define CELUMBRANT_TOOLS_JPEG_SEGMENTS_H_

#include <optional>
#include <string>

namespace celumbrant_meta {

// A copy of a JPEG file with the EXIF block in front of its first segment that is not APP0, and
// without the blocks that it has; the other segments, the scan and all behind it stay as they are.
// Nothing when it is no JPEG file whose segments can be followed to the scan.
std::optional<std::string> with_exif_block(const std::string& jpeg, const std::string& block);

}  // namespace celumbrant_meta

#endif
