/* SPDX-License-Identifier: MIT */
/* Makes a small HDR picture in memory, a dark room with a bright window, and prints its range. */
#include <CelumbrantMetaLib.h>
#include <math.h>
#include <stdio.h>

enum { kWidth = 48, kHeight = 32, kPlanes = 4 };

/* A grey of `mantissa` * 2^(exponent - 128). */
static void set_pixel(unsigned char* row, int x, int mantissa, int exponent) {
  for (int plane = 0; plane < kPlanes - 1; ++plane) {
    row[plane * kWidth + x] = (unsigned char)mantissa;
  }
  row[(kPlanes - 1) * kWidth + x] = (unsigned char)exponent;
}

int main(void) {
  static unsigned char rgbe[kHeight * kPlanes * kWidth];
  for (int y = 0; y < kHeight; ++y) {
    unsigned char* row = rgbe + y * kPlanes * kWidth;
    for (int x = 0; x < kWidth; ++x) {
      const int is_window = x >= 30 && x < 40 && y >= 6 && y < 18;
      set_pixel(row, x, 128 + 2 * x, is_window ? 131 : 119 + y / 12);
    }
  }

  float range[3];
  const int rows = hdrMinMax(kWidth, kHeight, rgbe, range);
  if (rows != kHeight) return 1;
  printf("An HDR picture of %d x %d pixels:\n", kWidth, kHeight);
  printf("    darkest    %.3f\n", (double)range[0]);
  printf("    brightest  %.3f\n", (double)range[1]);
  printf("    mean       %.3f\n", (double)range[2]);
  printf("    range      %.1f stops\n", log2((double)range[1] / (double)range[0]));
  return 0;
}
