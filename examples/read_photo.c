/* SPDX-License-Identifier: MIT */
#include <CelumbrantMetaLib.h>
#include <stdio.h>

int main(int argc, char** argv) {
  ExifInfo2 photo;
  const int result = getExifData(argc > 1 ? argv[1] : "photo.jpg", CELUMBRANT_IMAGE_JPEG, &photo);
  if (result == 1) printf("%s, %g s\n", photo.model, (double)photo.exposure);
  if (result != 1) fprintf(stderr, "no metadata in this photo (result %d)\n", result);
  return result == 1 ? 0 : 1;
}
