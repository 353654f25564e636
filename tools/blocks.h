// SPDX-License-Identifier: MIT
//
// Blocks that go into files: ICC profiles and IPTC blocks.

#ifndef CELUMBRANT_TOOLS_BLOCKS_H_
#define CELUMBRANT_TOOLS_BLOCKS_H_

#include <string>
#include <vector>

#include "photo.h"

namespace celumbrant_meta {

const unsigned char* bytes_of(const std::string& block);

// A profile that a result picture can have; a Failure tells why another cannot be put into one.
std::string read_profile(const std::string& file);

// The short name of a profile; empty when it has none.
std::string profile_name(const std::string& profile);

// The photograph's IPTC block, or a new one, with keywords (UTF-8) behind those that it has. They are
// written in the block's character set. Without keywords the block is the photograph's as it is, or
// empty when it is damaged. A UsageError for a word that IPTC does not take; a Failure for a damaged
// block that keywords should go into.
std::string with_keywords(const Photo& photo, const std::vector<std::string>& keywords);

}  // namespace celumbrant_meta

#endif
