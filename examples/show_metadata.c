/* SPDX-License-Identifier: MIT */
/*
 * A host reads a photograph's metadata into the two flat arrays and shows them.
 *
 *   show_metadata PHOTO.jpg
 */

#include <CelumbrantMetaLib.h>
#include <stdio.h>
#include <string.h>

/* A fraction of a flat array by the slot of its numerator; 0 when it is not there. */
static double fraction(const int* slots, int slot) {
  return slots[slot] > 0 && slots[slot + 1] > 0 ? (double)slots[slot] / slots[slot + 1] : 0.0;
}

/* Degrees, minutes and seconds. */
static double degrees(const int* gps, int slot) {
  return fraction(gps, slot) + fraction(gps, slot + 2) / 60.0 + fraction(gps, slot + 4) / 3600.0;
}

/* A text of a flat array, which has no NUL when it fills its range. */
static void show_text(const char* label, const int* slots, int slot, size_t range) {
  const char* text = (const char*)(slots + slot);
  const char* end = memchr(text, '\0', range);
  const int length = (int)(end != NULL ? (size_t)(end - text) : range);
  if (length > 0) printf("  %-13s %.*s\n", label, length, text);
}

static void show_exif(const int* exif) {
  const double exposure = fraction(exif, CELUMBRANT_EXIF_EXPOSURE);
  const double aperture = fraction(exif, CELUMBRANT_EXIF_APERTURE);
  const double focal_length = fraction(exif, CELUMBRANT_EXIF_FOCAL_LENGTH);
  show_text("model", exif, CELUMBRANT_EXIF_MODEL, CELUMBRANT_MODEL_BYTES);
  show_text("lens", exif, CELUMBRANT_EXIF_LENS, CELUMBRANT_LENS_BYTES);
  show_text("taken", exif, CELUMBRANT_EXIF_DATE_TIME, CELUMBRANT_DATE_TIME_BYTES);
  if (exposure >= 1.0) printf("  %-13s %.1f s\n", "exposure", exposure);
  if (exposure > 0.0 && exposure < 1.0) printf("  %-13s 1/%.0f s\n", "exposure", 1.0 / exposure);
  if (aperture > 0.0) printf("  %-13s f/%.1f\n", "aperture", aperture);
  if (exif[CELUMBRANT_EXIF_ISO] > 0) printf("  %-13s %d\n", "ISO", exif[CELUMBRANT_EXIF_ISO]);
  if (focal_length > 0.0) printf("  %-13s %.1f mm\n", "focal length", focal_length);
  printf("  %-13s %d\n", "orientation", exif[CELUMBRANT_EXIF_ORIENTATION]);
  if (exif[CELUMBRANT_EXIF_IPTC_LEN] > 0) {
    printf("  %-13s %d bytes at %d\n", "IPTC", exif[CELUMBRANT_EXIF_IPTC_LEN],
           exif[CELUMBRANT_EXIF_IPTC_OFFSET]);
  }
}

static void show_gps(const int* gps) {
  const char* bytes = (const char*)gps;
  if (fraction(gps, CELUMBRANT_GPS_LATITUDE) > 0.0) {
    printf("  %-13s %.6f %c, %.6f %c\n", "position", degrees(gps, CELUMBRANT_GPS_LATITUDE),
           bytes[CELUMBRANT_GPS_BYTE_LAT_REF], degrees(gps, CELUMBRANT_GPS_LONGITUDE),
           bytes[CELUMBRANT_GPS_BYTE_LONG_REF]);
  }
  if (fraction(gps, CELUMBRANT_GPS_ALTITUDE) > 0.0) {
    printf("  %-13s %.1f m %s sea level\n", "altitude", fraction(gps, CELUMBRANT_GPS_ALTITUDE),
           bytes[CELUMBRANT_GPS_BYTE_ALT_REF] == 1 ? "below" : "above");
  }
}

int main(int argc, char** argv) {
  int exif[CELUMBRANT_EXIF_SLOTS] = {0};
  int gps[CELUMBRANT_GPS_SLOTS] = {0};
  ExifInfo2 record;
  int result;

  if (argc != 2) {
    fprintf(stderr, "usage: show_metadata PHOTO.jpg\n");
    return 2;
  }
  result = getExifData(argv[1], CELUMBRANT_IMAGE_JPEG, &record);
  if (result != 1) {
    fprintf(stderr, "show_metadata: %s: no metadata (result %d)\n", argv[1], result);
    return 1;
  }
  metadataBufFromExifInfo(&record, exif, gps);
  printf("%s\n", argv[1]);
  show_exif(exif);
  show_gps(gps);
  return 0;
}
