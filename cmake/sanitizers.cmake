# SPDX-License-Identifier: MIT
# CELUMBRANT_META_SANITIZE=address,undefined and the like: for everything that is built, so that the
# library, the tests and the programs agree on the runtime. The first report ends the program.

if(CELUMBRANT_META_SANITIZE)
  add_compile_options(-fsanitize=${CELUMBRANT_META_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${CELUMBRANT_META_SANITIZE})
endif()
