/* SPDX-License-Identifier: MIT */
/*
 * The main job of a host: a merged and tone-mapped picture is saved as a 16-bit TIFF file with the
 * metadata of the photograph that it was made from, an ICC profile, an IPTC keyword and the settings
 * of the method; then the file is read back, and both are shown.
 *
 *   save_result PHOTO.jpg RESULT.tif
 */

#include <CelumbrantMetaLib.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kWidth = 320, kHeight = 200, kSamples = 3 };

/* What the host keeps beside each picture. */
typedef struct Metadata {
  int exif[CELUMBRANT_EXIF_SLOTS];
  int gps[CELUMBRANT_GPS_SLOTS];
} Metadata;

static double fraction(const int* slots, int slot) {
  return slots[slot] > 0 && slots[slot + 1] > 0 ? (double)slots[slot] / slots[slot + 1] : 0.0;
}

/* The length of a block, which a file may give as any number: a negative one counts as none. */
static int block_length(const Metadata* metadata, int slot) {
  return metadata->exif[slot] > 0 ? metadata->exif[slot] : 0;
}

static int fail(const char* what, const char* file, int result) {
  fprintf(stderr, "save_result: %s: %s (result %d)\n", file, what, result);
  return 1;
}

static void show(const char* title, const Metadata* metadata) {
  const int* exif = metadata->exif;
  printf(
      "%-8s %.64s, %.20s, exposure %d/%d s, f/%.1f, ISO %d, %.0f mm, IPTC %d bytes, XMP %d bytes\n",
      title, (const char*)(exif + CELUMBRANT_EXIF_MODEL),
      (const char*)(exif + CELUMBRANT_EXIF_DATE_TIME), exif[CELUMBRANT_EXIF_EXPOSURE],
      exif[CELUMBRANT_EXIF_EXPOSURE + 1], fraction(exif, CELUMBRANT_EXIF_APERTURE),
      exif[CELUMBRANT_EXIF_ISO], fraction(exif, CELUMBRANT_EXIF_FOCAL_LENGTH),
      exif[CELUMBRANT_EXIF_IPTC_LEN], exif[CELUMBRANT_EXIF_XMP_LEN]);
}

/* The merged result: a sky above a dark land. Samples are little-endian. */
static unsigned char* render(void) {
  unsigned char* const pixels = malloc((size_t)kWidth * kHeight * kSamples * 2);
  unsigned char* at = pixels;
  if (pixels == NULL) return NULL;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      for (int sample = 0; sample < kSamples; ++sample) {
        const int sky = 65535 - 150 * y - 40 * (kSamples - sample) * (kWidth - x) / 4;
        const int value = y > 140 + x % 40 / 4 ? 6000 + 20 * x : sky < 0 ? 0 : sky;
        *at++ = (unsigned char)value;
        *at++ = (unsigned char)(value >> 8);
      }
    }
  }
  return pixels;
}

static void put_be32(unsigned char* bytes, unsigned value) {
  for (int i = 0; i < 4; ++i) bytes[i] = (unsigned char)(value >> (24 - 8 * i));
}

/* An ICC profile that is no more than its header and its name: hosts take a real one. */
static int make_profile(unsigned char* profile) {
  static const char kName[] = "Demo RGB";
  enum { kHeader = 128, kTag = 144, kText = kTag + 12, kEnd = kText + (int)sizeof kName + 79 };
  memset(profile, 0, kEnd);
  put_be32(profile, kEnd);
  memcpy(profile + 8, "\2\x20\0\0mntrRGB XYZ ", 16);
  memcpy(profile + 36, "acsp", 4);
  put_be32(profile + kHeader, 1);
  memcpy(profile + kHeader + 4, "desc", 4);
  put_be32(profile + kHeader + 8, kTag);
  put_be32(profile + kHeader + 12, kEnd - kTag);
  memcpy(profile + kTag, "desc", 4);
  put_be32(profile + kTag + 8, sizeof kName);
  memcpy(profile + kText, kName, sizeof kName);
  return kEnd;
}

/* The photograph's own IPTC block, if it has one, with one keyword more. */
static int add_keyword(const char* photo, const Metadata* metadata, unsigned char** block) {
  static const char kKeyword[] = "merged";
  const int keyword = (int)strlen(kKeyword);
  const int own = block_length(metadata, CELUMBRANT_EXIF_IPTC_LEN);
  unsigned char* const before = malloc((size_t)own + 1);
  int length = own;
  *block = malloc((size_t)own + 12 + sizeof kKeyword);
  if (before == NULL || *block == NULL ||
      read_iptc(photo, own, metadata->exif[CELUMBRANT_EXIF_IPTC_OFFSET], before) != own) {
    length = 0;
  }
  if (*block == NULL || add_iptc_keyword(length, before, keyword, kKeyword, *block) < 0) {
    free(before);
    return 0;
  }
  free(before);
  return length > 0 ? length + 5 + keyword : 12 + keyword;
}

static int save(const char* photo, const char* result_file, const Metadata* metadata) {
  unsigned char profile[512];
  unsigned char* iptc = NULL;
  float settings[CBTM_SETTINGS_COUNT];
  int dim[CELUMBRANT_DIM_ENTRIES] = {0};
  unsigned char* const pixels = render();
  const int iptc_len = add_keyword(photo, metadata, &iptc);
  int result = -1;
  dim[CELUMBRANT_DIM_WIDTH] = kWidth;
  dim[CELUMBRANT_DIM_HEIGHT] = kHeight;
  dim[CELUMBRANT_DIM_SAMPLES] = kSamples;
  dim[CELUMBRANT_DIM_DEPTH] = 16;
  dim[CELUMBRANT_DIM_DPI] = 300;
  dim[CELUMBRANT_DIM_PROFILE_LEN] = make_profile(profile);
  dim[CELUMBRANT_DIM_ORIENTATION] = metadata->exif[CELUMBRANT_EXIF_ORIENTATION];
  def_param(CBTM_BRILLIANCE_REFINER, settings);
  if (pixels != NULL) {
    result = buf2tif(pixels, dim, kWidth * kSamples * 2, profile, metadata->exif, metadata->gps,
                     iptc_len, iptc, CBTM_BRILLIANCE_REFINER, settings, 0, NULL, result_file);
  }
  free(iptc);
  free(pixels);
  return result < 0 ? fail("not saved", result_file, result) : 0;
}

static int show_settings(const char* file, const Metadata* metadata) {
  const int length = block_length(metadata, CELUMBRANT_EXIF_XMP_LEN);
  char* const packet = calloc((size_t)length + 1, 1);
  int method;
  if (packet == NULL) return fail("no memory for its packet", file, length);
  method = extract_xmp(file, length, metadata->exif[CELUMBRANT_EXIF_XMP_OFFSET], packet);
  free(packet);
  if (method != CBTM_BRILLIANCE_REFINER) return fail("the settings are not there", file, method);
  printf("The result carries the settings of method %d.\n", method);
  return 0;
}

int main(int argc, char** argv) {
  Metadata photo = {{0}, {0}};
  Metadata result = {{0}, {0}};
  ExifInfo2 record;
  int read;
  if (argc != 3) {
    fprintf(stderr, "usage: save_result PHOTO.jpg RESULT.tif\n");
    return 2;
  }
  read = getExifData(argv[1], CELUMBRANT_IMAGE_JPEG, &record);
  if (read != 1) return fail("no metadata", argv[1], read);
  metadataBufFromExifInfo(&record, photo.exif, photo.gps);
  if (save(argv[1], argv[2], &photo) != 0) return 1;
  get_exif_data(argv[2], CELUMBRANT_IMAGE_TIFF, result.exif, result.gps);
  show("photo", &photo);
  show("result", &result);
  if (show_settings(argv[2], &result) != 0) return 1;
  printf("Written: %s\n", argv[2]);
  return 0;
}
