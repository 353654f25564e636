# SPDX-License-Identifier: MIT
# Links of the documents into the header, [`name`](include/...), lead to the pages of what they name.
s,\[`\([A-Za-z0-9_]*\)`\](include/[^)]*),[\1](@ref \1),g
s,](include/\([^)]*\)),](@ref \1),g
# Doxygen takes a word alone for no link.
s,](LICENSE),](./LICENSE),g
