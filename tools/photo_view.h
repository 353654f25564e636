// SPDX-License-Identifier: MIT
//
// A photograph's metadata as a table for people and as JSON for programs.

#ifndef CELUMBRANT_TOOLS_PHOTO_VIEW_H_
#define CELUMBRANT_TOOLS_PHOTO_VIEW_H_

#include <nlohmann/json.hpp>
#include <string>

#include "photo.h"

namespace celumbrant_meta {

// Keys stand in this order in every object; a value that the photograph lacks has no key.
nlohmann::ordered_json json_of(const Photo& photo);

// A line for the file and one for each value, each with a line feed; labels in bold with `colour`.
std::string table_of(const Photo& photo, bool colour);

}  // namespace celumbrant_meta

#endif
