// SPDX-License-Identifier: MIT
#include <CelumbrantMetaLib.h>

static_assert(noexcept(def_param(0, nullptr)), "exported functions let no exception out");
