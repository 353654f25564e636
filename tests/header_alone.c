/* SPDX-License-Identifier: MIT */
#include <CelumbrantMetaLib.h>
/* Twice, as hosts do. */
#include <CelumbrantMetaLib.h>

int header_works_as_c(void);
int header_works_as_c(void) {
  return CBTM_SETTINGS_COUNT;
}
