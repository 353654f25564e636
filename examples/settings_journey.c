/* SPDX-License-Identifier: MIT */
/*
 * A host keeps its tone-mapping settings: in a settings file, and in an XMP packet that exists.
 *
 *   settings_journey FILE.xmp
 */

#include <CelumbrantMetaLib.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char kCameraPacket[] =
    "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
    "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
    "<rdf:Description rdf:about=\"\" xmlns:aux=\"http://ns.adobe.com/exif/1.0/aux/\"\n"
    " aux:Lens=\"18.0-55.0 mm f/3.5-5.6\"/>\n"
    "</rdf:RDF>\n"
    "</x:xmpmeta>\n";

static int fail(const char* what, int result) {
  fprintf(stderr, "settings_journey: %s (result %d)\n", what, result);
  return 1;
}

static void print_lines_with(const char* text, const char* word) {
  for (const char* line = text; *line != '\0';) {
    const size_t length = strcspn(line, "\n");
    const char* found = strstr(line, word);
    if (found != NULL && found < line + length) printf("    %.*s\n", (int)length, line);
    line += length + (line[length] == '\n');
  }
}

/* The settings as a file: defaults, two changes, written and read back. */
static int keep_in_file(const char* filename) {
  float settings[CBTM_SETTINGS_COUNT];
  float read_back[CBTM_SETTINGS_COUNT];
  int result;

  def_param(CBTM_BRILLIANCE_REFINER, settings);
  settings[CBTM_REFINER_STRENGTH] = 65.0f;
  settings[CBTM_REFINER_SATURATION] = 2.5f;
  result = write_xmp(filename, CBTM_BRILLIANCE_REFINER, settings);
  if (result != 1) return fail("the settings file was not written", result);
  printf("Written: Brilliance Refiner, strength 65, saturation 2.5, to %s\n", filename);

  result = read_xmp(filename, CBTM_QUERY_METHOD, NULL);
  if (result != CBTM_BRILLIANCE_REFINER) return fail("the file does not tell its method", result);
  result = read_xmp(filename, CBTM_BRILLIANCE_REFINER, read_back);
  if (result < 0) return fail("the settings were not read back", result);
  printf("Read back: method %d, strength %g, saturation %g, white clip %g\n",
         CBTM_BRILLIANCE_REFINER, (double)read_back[CBTM_REFINER_STRENGTH],
         (double)read_back[CBTM_REFINER_SATURATION], (double)read_back[CBTM_REFINER_WHITE_CLIP]);
  return 0;
}

/* The settings inside a packet that a camera or an editor made, which keeps all that it holds. */
static int insert_into(char* packet, int length, int growth, const float* settings) {
  char lens[CBTM_LENS_NAME_MAX + 1] = {0};
  float read_back[CBTM_SETTINGS_COUNT];
  int result = insert_xmp(1, CBTM_BLEND_EXPRESSIVE, settings, length, growth, packet);
  if (result != growth) return fail("the settings were not inserted", result);
  length += growth;
  printf("Inserted: %d bytes; the packet's settings lines are now\n", growth);
  print_lines_with(packet, "cbtm");

  result = cbsettings_occurences_in_xmp(length, packet);
  if (result != 1) return fail("the packet does not count one set of settings", result);
  result = get_settings_from_xmp(CBTM_BLEND_EXPRESSIVE, length, packet, NULL, read_back);
  if (result < 0) return fail("the inserted settings were not read", result);
  get_settings_from_xmp(CBTM_QUERY_LENS, length, packet, lens, NULL);
  printf("Read back: radius %g; the camera's lens is still there: %s\n",
         (double)read_back[CBTM_EXPRESSIVE_RADIUS], lens);
  return lens[0] != '\0' ? 0 : fail("the lens name was lost", 0);
}

static int insert_into_packet(void) {
  float settings[CBTM_SETTINGS_COUNT];
  int growth;
  int failed;
  char* packet;

  def_param(CBTM_BLEND_EXPRESSIVE, settings);
  growth = insert_xmp(CBTM_MEASURE, CBTM_BLEND_EXPRESSIVE, settings, 0, 0, NULL);
  packet = malloc(sizeof kCameraPacket + (size_t)growth);
  if (packet == NULL) return fail("no memory", 0);
  memcpy(packet, kCameraPacket, sizeof kCameraPacket);
  failed = insert_into(packet, (int)sizeof kCameraPacket, growth, settings);
  free(packet);
  return failed;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: settings_journey FILE.xmp\n");
    return 2;
  }
  if (keep_in_file(argv[1]) != 0) return 1;
  return insert_into_packet();
}
