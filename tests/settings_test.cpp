// SPDX-License-Identifier: MIT
#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>

TEST(Defaults, x) {
  float v[60];
  EXPECT_EQ(def_param(1, v), 0);
}
