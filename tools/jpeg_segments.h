// SPDX-License-Identifier: MIT
//
// An EXIF block in a JPEG file.

#ifndef CELUMBRANT_TOOLS_JPEG_SEGMENTS_H_
#define CELUMBRANT_TOOLS_JPEG_SEGMENTS_H_

#include <optional>
#include <string>

namespace celumbrant_meta {

// A copy of a JPEG file with the EXIF block in the place of the one that it has, or in front of its
// first segment that is not APP0; nothing else changes. Nothing when it is no whole JPEG file.
std::optional<std::string> with_exif_block(const std::string& jpeg, const std::string& block);

}  // namespace celumbrant_meta

#endif
