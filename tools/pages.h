// SPDX-License-Identifier: MIT
//
// The man page and the completion of the shell, made from the commands and options as they are.

#ifndef CELUMBRANT_TOOLS_PAGES_H_
#define CELUMBRANT_TOOLS_PAGES_H_

#include <CLI/CLI.hpp>
#include <string>

namespace celumbrant_meta {

std::string man_page(const CLI::App& app);
std::string bash_completion(const CLI::App& app);

}  // namespace celumbrant_meta

#endif
