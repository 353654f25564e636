/* SPDX-License-Identifier: MIT */

/**
 * @file CelumbrantMetaLib.h
 * @brief Image metadata of an HDR photography application: the whole public interface.
 *
 * Conventions, which hold for every function below:
 *
 *  1. Every function whose type is int returns a length, a count, a position or 1 on success, 0 for
 *     nothing found, a small negative number for a failure. Each function lists its results.
 *  2. The caller owns every buffer. The library keeps no pointer to one after it returns, hands out
 *     no memory of its own and keeps no state between calls.
 *  3. Calls that work on different files and buffers may run at the same time.
 *  4. A pointer must not be NULL unless its parameter says that it may be.
 *  5. Sizes and lengths are bytes and positions count from 0 unless a parameter says otherwise.
 *  6. A function that opens a file closes it before it returns. None reports success for bytes that
 *     did not reach the file.
 *  7. Numbers in text have a decimal point, whatever the locale of the process is.
 *  8. Nothing is printed unless a function says so.
 *  9. No function throws, and none reads or writes beyond the lengths that it is given.
 */

#ifndef CELUMBRANTMETALIB_H_
#define CELUMBRANTMETALIB_H_

#include <time.h>

#define CELUMBRANT_META_VERSION_MAJOR 0 /**< major version, as in Semantic Versioning */
#define CELUMBRANT_META_VERSION_MINOR 1 /**< minor version, as in Semantic Versioning */
#define CELUMBRANT_META_VERSION_PATCH 0 /**< patch version, as in Semantic Versioning */

/*
 * CELUMBRANT_META_API marks the exported functions.
 *
 *  compiler       library                        meaning
 *  gcc, clang     shared or static               visible; everything unmarked is hidden
 *  Windows        shared, while it is built      exported (CelumbrantMetaLib_EXPORTS is defined)
 *  Windows        shared, in a program           imported (CELUMBRANT_META_SHARED is defined)
 *  any other                                     nothing
 */
#if defined(_WIN32) && defined(CelumbrantMetaLib_EXPORTS)
#define CELUMBRANT_META_API __declspec(dllexport)
#elif defined(_WIN32) && defined(CELUMBRANT_META_SHARED)
#define CELUMBRANT_META_API __declspec(dllimport)
#elif defined(__GNUC__) && !defined(_WIN32)
#define CELUMBRANT_META_API __attribute__((visibility("default")))
#else
#define CELUMBRANT_META_API
#endif

#include <stdio.h>

#ifdef __cplusplus
#define CELUMBRANT_META_NOEXCEPT noexcept
extern "C" {
#else
#define CELUMBRANT_META_NOEXCEPT
#endif

/**
 * @defgroup record Metadata record and byte-order readers
 *
 * What a read finds in a picture, and the small readers with which TIFF and JPEG structures are
 * taken from a stream.
 * @{
 */

/**
 * What is known of a picture. init_exifInfo clears a record; the readers store what they find and
 * leave the rest. Every text is NUL-terminated after a read. The thumbnail, the IPTC block and the
 * XMP packet are not loaded: the record tells where in the file they lie. Rationals are kept as
 * they are in the file, numerator first.
 */
typedef struct ExifInfo2 {
  int camera;             /**< 2 when parse_image_description decoded a whole text, else 0 */
  float exposure;         /**< exposure time, seconds */
  float aperture;         /**< f-number */
  int iso;                /**< ISO speed */
  int curve;              /**< reserved, 0 */
  float focalLength;      /**< millimetres */
  int focal35;            /**< focal length in 35 mm film, millimetres */
  float fpxRes;           /**< focal-plane X resolution, pixels per fpUnit */
  int fpUnit;             /**< 2 inch, 3 centimetre, or another EXIF code */
  char model[65];         /**< camera model; 64 bytes are used, the last is never touched */
  char date_time[21];     /**< when the picture was taken, YYYY:MM:DD HH:MM:SS */
  int thumb_width;        /**< pixels; this and the next two only of a Photoshop thumbnail */
  int thumb_height;       /**< pixels */
  int thumb_row;          /**< bytes per row */
  int thumb_datalen;      /**< bytes of the thumbnail's JPEG data */
  int thumb_offset;       /**< their position in the file */
  int orientation;        /**< 1 to 8 as in TIFF and EXIF */
  int iptc_len;           /**< bytes of the IPTC block */
  int iptc_offset;        /**< its position in the file */
  char lat_ref;           /**< 'N' or 'S' */
  int lat_val[6];         /**< latitude: degrees, minutes, seconds, three rationals */
  char long_ref;          /**< 'E' or 'W' */
  int long_val[6];        /**< longitude, likewise */
  char alt_ref;           /**< 0 above sea level, 1 below */
  int alt_val[2];         /**< altitude in metres, one rational */
  int gps_timestamp[6];   /**< hours, minutes, seconds, three rationals */
  char gps_datestamp[11]; /**< YYYY:MM:DD */
  int embeddedXmp_len;    /**< bytes of the XMP packet; getExifData tells what they count */
  int embeddedXmp_offset; /**< its position in the file */
  int lens[64];           /**< 256 bytes of text: the lens name, at most 63 bytes, and zeros */
} ExifInfo2;

/** Byte orders: the first two bytes of a TIFF structure, read as a big-endian number. */
enum {
  CELUMBRANT_LITTLE_ENDIAN = 0x4949, /**< "II" */
  CELUMBRANT_BIG_ENDIAN = 0x4D4D     /**< "MM" */
};

/**
 * @brief Clears a record: all numbers 0, all texts empty.
 *
 * @param[out] exifInfo  the record; all of it is written but the last byte of model.
 */
CELUMBRANT_META_API void init_exifInfo(ExifInfo2* exifInfo) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Reads a 16-bit number in a given byte order.
 *
 * @param f  a stream opened in binary mode; advanced by 2 bytes, or to its end.
 * @param order  CELUMBRANT_LITTLE_ENDIAN; any other value means big-endian.
 * @return the number. A byte past the end of the stream counts as 0xFF: 0xFFFF when both are.
 */
CELUMBRANT_META_API unsigned short fgetmi2(FILE* f, short order) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Reads a 32-bit number in a given byte order.
 *
 * @param f  a stream opened in binary mode; advanced by 4 bytes, or to its end.
 * @param order  CELUMBRANT_LITTLE_ENDIAN; any other value means big-endian.
 * @return the number, its 32 bits taken as a signed one. A byte past the end of the stream is added
 *         as -1 in its place: -16843009 (0xFEFEFEFF) in either order when all four are.
 */
CELUMBRANT_META_API int fgetmi4(FILE* f, short order) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief fgetmi2 for a number that is always big-endian: JPEG lengths, Photoshop structures.
 *
 * @param f  as for fgetmi2.
 * @return as fgetmi2 with CELUMBRANT_BIG_ENDIAN.
 */
CELUMBRANT_META_API unsigned short fgetm2(FILE* f) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief fgetmi4 for a number that is always big-endian.
 *
 * @param f  as for fgetmi4.
 * @return as fgetmi4 with CELUMBRANT_BIG_ENDIAN.
 */
CELUMBRANT_META_API int fgetm4(FILE* f) CELUMBRANT_META_NOEXCEPT;

/** @} */

/**
 * @defgroup reader Metadata reader
 *
 * Reading a photograph. Files are untrusted: whatever bytes they hold, a read ends soon, stays
 * inside its buffers and takes no more memory than the file is long. What a file lacks reads as the
 * byte-order readers tell of the end of a stream. Of a file made to cost time (600,000 directory
 * entries or 200,000 reads in one call) the rest is ignored, and behind 64 MiB of Photoshop resources
 * further resources are.
 *
 * The functions that take a stream need one that was opened in binary mode and can be sought.
 * @{
 */

/** Kinds of file. Any other number is read as a TIFF file whose Photoshop resources are ignored. */
enum { CELUMBRANT_IMAGE_TIFF = 0, CELUMBRANT_IMAGE_JPEG = 1, CELUMBRANT_IMAGE_PSD = 2 };

/**
 * @brief Reads the metadata of a photograph into a record.
 *
 * The TIFF structure is the whole file, the APP1 "Exif" segment of a JPEG file (its first APP1) or
 * the EXIF resource of a Photoshop file. Of it the first three directories are read (only one when
 * it has exactly 255 entries), with the EXIF and GPS directories that they name; where two of them
 * give the same field, the later decides. The thumbnail is that of the second or third directory.
 *
 * Of a JPEG file also:
 *  - the next APP1 within ten segments of the Exif segment, when it holds XMP: its lens name, and
 *    its place when it holds settings of method 1, 2, 3, 10, 11, 12 or 15. embeddedXmp_len is then
 *    the length of the segment, which is 31 bytes more than the packet's;
 *  - the first APP13 "Photoshop 3.0" segment, as parse_photoshop_data reads it.
 *
 * The XMP packet and the IPTC block of a directory (tags 700 and 33723) are reported as they stand
 * in its entry: their position counts from the start of the TIFF structure.
 *
 * @param nomfic  path of the file; NUL-terminated.
 * @param imageType  one of CELUMBRANT_IMAGE_TIFF, _JPEG and _PSD, or another number, see there.
 * @param[out] exifInfo  the record. It is cleared first, also when the file cannot be opened, and
 *        keeps what was found before a failure.
 * @return
 *   1: the file was read to its end; the record holds what was found, possibly nothing.
 *   -1: the file cannot be opened. A JPEG file does not begin with 0xFF 0xD8, or has five 0xFF
 *       bytes where a marker code belongs before its first APP1, or a segment whose length is below
 *       2 (but for an APP1 behind the Exif segment). A Photoshop file is shorter than 4 bytes or
 *       has no EXIF resource.
 *   -2: a JPEG file has no APP1 before its image data or its end. A Photoshop file does not begin
 *       with "8BPS". The TIFF structure begins with neither "II" nor "MM"; in a JPEG file whose
 *       first APP1 is no Exif segment, what stands behind its first 6 bytes is taken for one.
 *   -3: the TIFF structure's magic number is not 42. A Photoshop file has fewer than 3 channels, or
 *       its colour mode is not RGB.
 *   -10: what was read of a JPEG file is in the record, but the search for APP13 came to a byte
 *       that is no marker, or to the end of the file.
 *
 * Printed on standard error, with these results of -1 only: "too many padding bytes" for the five
 * 0xFF bytes, "invalid marker" for the length below 2, each with a line feed.
 */
CELUMBRANT_META_API int getExifData(const char* nomfic, int imageType,
                                    ExifInfo2* exifInfo) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Reads an EXIF directory: exposure, f-number, ISO, focal lengths, resolution, date.
 *
 * The exposure time comes from ExposureTime, else from ShutterSpeedValue; the f-number from
 * FNumber, else from ApertureValue, else from MaxApertureValue, both as they stand; the ISO speed
 * from ISOSpeedRatings, else from ExposureIndex. A rational whose denominator is not above 0 is
 * passed over.
 *
 * @param ifp  stands at the directory's entry count; afterwards behind its last entry, or at the end
 *        of a file that ends before.
 * @param breed  not used; the count of the entry that names the directory.
 * @param order  byte order, as for fgetmi2.
 * @param startTiffHeader  position of the TIFF header, from which offsets count.
 * @param[in,out] exifInfo  fields whose tags are absent keep their values.
 * @return 1 always.
 */
CELUMBRANT_META_API int parse_exif_data(FILE* ifp, int breed, short order, int startTiffHeader,
                                        ExifInfo2* exifInfo) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Reads a GPS directory: position, altitude, time and date.
 *
 * Of a value with more than three rationals the first three are taken; one with fewer fills only
 * its own. A date of fewer than 6 bytes is passed over. Nothing is validated.
 *
 * @param ifp  stands at the directory's entry count; afterwards behind its last entry, or at the end
 *        of a file that ends before.
 * @param breed  not used; the count of the entry that names the directory.
 * @param order  byte order, as for fgetmi2.
 * @param startTiffHeader  position of the TIFF header, from which offsets count.
 * @param[in,out] exifInfo  fields whose tags are absent keep their values.
 * @return 1 always.
 */
CELUMBRANT_META_API int parse_gps_data(FILE* ifp, int breed, short order, int startTiffHeader,
                                       ExifInfo2* exifInfo) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Finds the IPTC block and the thumbnail among Photoshop image resources.
 *
 * Resources are recognised at every byte, not only where the block before ends; of several of one
 * kind the last counts. An IPTC resource must have an empty name.
 *
 * @param ifp  stands at the first resource; afterwards wherever the last read left it.
 * @param breed  bytes to search from there; more than the stream has is harmless.
 * @param[in,out] exifInfo  iptc_len and iptc_offset; thumb_width, _height, _row, _datalen and
 *        _offset. What is not found keeps its values.
 * @return the length of the thumbnail's JPEG data; 1 when there is no thumbnail; -4 when there is no
 *         memory for the resources, or breed is negative.
 */
CELUMBRANT_META_API int parse_photoshop_data(FILE* ifp, int breed,
                                             ExifInfo2* exifInfo) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Loads an IPTC block.
 *
 * @param nomfic  path of the file; NUL-terminated.
 * @param iptcLen  bytes of the block.
 * @param iptcOffset  its position in the file.
 * @param[out] iptcBuf  room for iptcLen bytes.
 * @return
 *   iptcLen: the block was read.
 *   0: nothing was read, since iptcLen is 0 or less, or not below the length of the file, or
 *      iptcOffset is negative.
 *   -1: the file cannot be opened, or ends before the block does; or the length of the file and
 *       iptcOffset add to less than 1.
 *   -2: iptcBuf does not begin with 0x1C, the mark of IPTC data; also when the block was read
 *       short, or not at all since it lies behind the end of the file.
 */
CELUMBRANT_META_API int read_iptc(const char* nomfic, int iptcLen, int iptcOffset,
                                  unsigned char* iptcBuf) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Loads an XMP packet and tells which method's settings it holds.
 *
 * @param nomfic  path of the file; NUL-terminated.
 * @param xmpLen  bytes of the packet; the length that getExifData reports is good.
 * @param xmpOffset  its position in the file.
 * @param[in,out] xmpBuf  xmpLen + 1 bytes that the caller has set to zero. The last is not written;
 *        where the file ends early, those behind it are not either.
 * @return
 *   -1: the file cannot be opened, or its length and xmpOffset add to less than 1.
 *   0: nothing was read, since xmpLen is 0 or less, or not below the length of the file, or
 *      xmpOffset is negative.
 *   Otherwise the result of get_settings_from_xmp for CBTM_QUERY_METHOD.
 */
CELUMBRANT_META_API int extract_xmp(const char* nomfic, int xmpLen, int xmpOffset,
                                    char* xmpBuf) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Decodes a camera's description text into exposure time and ISO speed.
 *
 * The text is a list with ", " between its fields. The 8th holds the exposure time, such as 1/250s;
 * the 9th to 11th three numbers behind the letters R, G and B, such as R40. The ISO speed is 200,
 * doubled for every full 30 of the mean of the largest and the smallest of the three.
 *
 * @param ifp  stands at the text; afterwards behind it, or at the end of a file that lacks a part.
 * @param breed  bytes of the text; a NUL ends it earlier.
 * @param[in,out] exifInfo  changed only when all three numbers were found: iso; exposure, when its
 *        denominator is above 0; camera, which becomes 2 when numerator, denominator and the number
 *        decoded last lie between 1 and 99998.
 * @return the number decoded last, 0 when there is none; -1 when breed bytes cannot be read, breed
 *         is 0 or less, or there is no memory for them.
 */
CELUMBRANT_META_API int parse_image_description(FILE* ifp, int breed,
                                                ExifInfo2* exifInfo) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Gives a short name for an ICC profile, from its description (of ICC version 2).
 *
 * @param profileLen  bytes of the profile.
 * @param profileBuf  the profile, read.
 * @param[out] profileName32  32 bytes, all written: "sRGB", "Adobe RGB" or "ProPhoto RGB" when the
 *        description holds that text, else its first 32 bytes, which may lack a NUL; zeros behind.
 * @return 4, 9, 12 or 32, the bytes copied (32 also when the profile ends before); -1 when there is
 *         no description.
 */
CELUMBRANT_META_API int get_profile_name(int profileLen, const unsigned char* profileBuf,
                                         char* profileName32) CELUMBRANT_META_NOEXCEPT;

/** @} */

/**
 * @defgroup flat_arrays Flat arrays
 *
 * The metadata that a host keeps beside each picture: two arrays of integers. A fraction takes two
 * slots, numerator and denominator, and is present when both are above 0. A text takes four bytes
 * of a slot, from the array's first byte on as they lie in memory; it is present when its first
 * byte is not NUL, and one that fills its range has no NUL.
 *
 * Slots 4 and 7 to 9 of exifBuf and the bytes 83 and 95 of gpsBuf are never written; nor are the
 * two slots of a fraction that is not known. So clear the arrays before they are filled again.
 * @{
 */

/** Integers in the two arrays, at least. */
enum { CELUMBRANT_EXIF_SLOTS = 60, CELUMBRANT_GPS_SLOTS = 24 };

/** Slots of exifBuf. A fraction stands by its numerator; its denominator follows. */
enum {
  CELUMBRANT_EXIF_EXPOSURE = 0,      /**< fraction: exposure time, seconds */
  CELUMBRANT_EXIF_APERTURE = 2,      /**< fraction: f-number */
  CELUMBRANT_EXIF_ISO = 5,           /**< ISO speed */
  CELUMBRANT_EXIF_CAMERA = 6,        /**< camera code */
  CELUMBRANT_EXIF_FOCAL_LENGTH = 10, /**< fraction: millimetres */
  CELUMBRANT_EXIF_FOCAL_35 = 12,     /**< focal length in 35 mm film, millimetres */
  CELUMBRANT_EXIF_FPX_RES = 13,      /**< fraction: focal-plane X resolution */
  CELUMBRANT_EXIF_FP_UNIT = 15,      /**< its unit: 2 inch, 3 centimetre */
  CELUMBRANT_EXIF_THUMB_OFFSET = 16, /**< position of the thumbnail in the file */
  CELUMBRANT_EXIF_THUMB_LEN = 17,    /**< its bytes */
  CELUMBRANT_EXIF_IPTC_OFFSET = 18,  /**< position of the IPTC block */
  CELUMBRANT_EXIF_IPTC_LEN = 19,     /**< its bytes, as the file has it: any number; test it */
  CELUMBRANT_EXIF_ORIENTATION = 20,  /**< 1 to 8 */
  CELUMBRANT_EXIF_XMP_OFFSET = 21,   /**< position of the XMP packet */
  CELUMBRANT_EXIF_XMP_LEN = 22,      /**< its bytes, likewise */
  CELUMBRANT_EXIF_MODEL = 23,        /**< text of CELUMBRANT_MODEL_BYTES */
  CELUMBRANT_EXIF_DATE_TIME = 39,    /**< text of CELUMBRANT_DATE_TIME_BYTES */
  CELUMBRANT_EXIF_LENS = 44          /**< text of CELUMBRANT_LENS_BYTES */
};

/** Slots of gpsBuf. A triple is three fractions: degrees or hours, minutes, seconds. */
enum {
  CELUMBRANT_GPS_LATITUDE = 0,   /**< triple */
  CELUMBRANT_GPS_LONGITUDE = 6,  /**< triple */
  CELUMBRANT_GPS_ALTITUDE = 12,  /**< fraction: metres */
  CELUMBRANT_GPS_TIMESTAMP = 14, /**< triple */
  CELUMBRANT_GPS_REFS = 20,      /**< the three bytes below */
  CELUMBRANT_GPS_DATESTAMP = 21  /**< text of CELUMBRANT_DATESTAMP_BYTES */
};

/** Bytes of gpsBuf. */
enum {
  CELUMBRANT_GPS_BYTE_LAT_REF = 80,  /**< 'N' or 'S' */
  CELUMBRANT_GPS_BYTE_LONG_REF = 81, /**< 'E' or 'W' */
  CELUMBRANT_GPS_BYTE_ALT_REF = 82   /**< 0 above sea level, 1 below */
};

/** Bytes of the texts. */
enum {
  CELUMBRANT_MODEL_BYTES = 64,
  CELUMBRANT_DATE_TIME_BYTES = 20,
  CELUMBRANT_LENS_BYTES = 64,
  CELUMBRANT_DATESTAMP_BYTES = 11
};

/**
 * @brief Fills the flat arrays from a record.
 *
 * A float of 1 or more becomes hundredths, cut: 2.5 is 250/100. One between 0 and 1 becomes 100
 * over the hundredths of its inverse, cut: 0.5 is 100/200, and 0.004, which no float holds exactly,
 * is 100/24999. What no int holds becomes 2147483647. One of 0 or less, or not a number, leaves
 * both slots as they were.
 *
 * @param exifInfo  the record, read.
 * @param[out] exifBuf  at least 60 integers, written as listed above.
 * @param[out] gpsBuf  at least 24 integers, likewise.
 * @return exifBuf[CELUMBRANT_EXIF_EXPOSURE] as it is then: what it was before when the record has
 *         no exposure time.
 */
CELUMBRANT_META_API int metadataBufFromExifInfo(const ExifInfo2* exifInfo, int* exifBuf,
                                                int* gpsBuf) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Reads the metadata of a photograph into the flat arrays.
 *
 * The file is read as by getExifData, which also tells what is printed. Its result is not reported:
 * from a file that cannot be read come a cleared record's values.
 *
 * @param nomfic  path of the file; NUL-terminated.
 * @param imageType  as for getExifData.
 * @param[out] exifBuf  at least 60 integers.
 * @param[out] gpsBuf  at least 24 integers.
 * @return the result of metadataBufFromExifInfo.
 */
CELUMBRANT_META_API int get_exif_data(const char* nomfic, int imageType, int* exifBuf,
                                      int* gpsBuf) CELUMBRANT_META_NOEXCEPT;

/** @} */

/**
 * @defgroup writers Metadata writers
 *
 * What is made from the flat arrays, or put into blocks and files that exist.
 * @{
 */

/** Bytes that a make needs, and that every EXIF block fits in. */
enum { CELUMBRANT_MAKE_BYTES = 64, CELUMBRANT_EXIF_BLOCK_MAX = 472 };

/**
 * @brief Counts what the EXIF and the GPS directory of the flat arrays will hold.
 *
 * A fraction is an entry when both its slots are above 0, a number when it is above 0, a text when
 * its first byte is not NUL, a GPS reference when it is above 0 as a signed byte. The make, which
 * the arrays do not hold, follows from how the model begins.
 *
 * @param exifBuf  60 integers, read.
 * @param[out] pExifCount  entries of the EXIF directory, 0 to 5.
 * @param[out] pExifDataLen  bytes of their values behind it, 0 to 45.
 * @param gpsBuf  24 integers, read.
 * @param[out] pGpsCount  entries of the GPS directory, its version included, 0 to 9.
 * @param[out] pGpsDataLen  bytes of their values behind it, 0 to 91.
 * @param[out] pModelLen  bytes of the model with its NUL, 0 to 64; 63 when it fills its range.
 * @param[out] pMakeLen  bytes of the make with its NUL; 0 when the model tells none.
 * @param[out] pDatetimeLen  bytes of the date and time with its NUL, 0 to 21.
 * @param[out] pGpsDateLen  11, or 0 when there is no date.
 * @param[out] pLensInfoLen  bytes of the lens name, counted like the model's.
 * @param[out] pMakeInfo  64 bytes, all written: the make and zeros.
 * @return the number of entries in both directories.
 */
CELUMBRANT_META_API int get_exif_count(const int* exifBuf, int* pExifCount, int* pExifDataLen,
                                       const int* gpsBuf, int* pGpsCount, int* pGpsDataLen,
                                       int* pModelLen, int* pMakeLen, int* pDatetimeLen,
                                       int* pGpsDateLen, int* pLensInfoLen,
                                       char* pMakeInfo) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Writes an EXIF block: a little-endian TIFF structure with make, model, orientation and the
 * two directories, for instance for the APP1 segment of a JPEG, behind "Exif" and two NULs.
 *
 * Every size is what get_exif_count gave for the same arrays.
 *
 * @param exifCount, exifDataLen, gpsCount, gpsDataLen  entries and bytes of the two directories.
 * @param modelLen, makeLen, datetimeLen, gpsDatestampLen  bytes of the texts.
 * @param orientationVal  1 to 8; any other number is written as 1.
 * @param exifBuf  60 integers, read.
 * @param gpsBuf  24 integers, read.
 * @param pMakeInfo  the make, makeLen bytes, read.
 * @param[out] exif_data_ptr  as many bytes as the result says; 472 suffice for sizes that
 *        get_exif_count gave. Bytes that no value needs are not written (the last two of orientation
 *        and ISO speed, the last three of a GPS reference): so hand over zeros.
 * @return the bytes of the block, whatever the arrays hold never more than the sizes add up to; -1,
 *         and nothing is written, when there is neither make nor model nor an entry of either
 *         directory, or when a size lies outside what get_exif_count can give.
 */
CELUMBRANT_META_API int write_exif_buf(int exifCount, int exifDataLen, int gpsCount, int gpsDataLen,
                                       int modelLen, int makeLen, int datetimeLen,
                                       int gpsDatestampLen, int orientationVal, const int* exifBuf,
                                       const int* gpsBuf, const char* pMakeInfo,
                                       unsigned char* exif_data_ptr) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Copies an IPTC block with one more keyword, behind the last keyword that it holds, else
 * behind the last data set of its second record, else behind its first data set.
 *
 * @param lenIn  bytes of the block; 0 for none: then a new block is made, with its version first.
 * @param iptcBufIn  the block, read; may be NULL when lenIn is 0.
 * @param lenKeyword  bytes of the keyword; IPTC readers take up to 64, a data set up to 32767.
 * @param strKeyword  the keyword, read; needs no NUL.
 * @param[out] iptcBufOut  lenIn + 5 + lenKeyword bytes, all written; 12 + lenKeyword when lenIn is
 *        0. Must not overlap iptcBufIn.
 * @return the position of the keyword's data set in iptcBufOut; -1, and nothing is written, when
 *         the data set that it would follow reaches beyond the block, the block is too short for
 *         one, or a length is negative.
 */
CELUMBRANT_META_API int add_iptc_keyword(int lenIn, const unsigned char* iptcBufIn, int lenKeyword,
                                         const char* strKeyword,
                                         unsigned char* iptcBufOut) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Finds an entry in a little-endian TIFF file's chain of directories.
 *
 * EXIF and GPS directories are not searched. A chain of more than 65,536 directories counts as a
 * loop, and the search is given up after 2,000,000 entries or 200,000 reads.
 *
 * @param ifp  stands at the file's first byte; afterwards anywhere.
 * @param requestedTag  the tag.
 * @param[out] tagLen  the entry's count; untouched when it is not found.
 * @param[out] tagVal  the first number when the entry is of one or two SHORTs, else its last four
 *        bytes: a value or an offset; untouched when it is not found.
 * @return
 *   above 0: the position of the entry in the file.
 *   -1: no directory has the tag, or the search was given up, or the entry lies beyond 2 GiB.
 *   -2: not a little-endian TIFF file, or a directory without entries.
 *   -3: a directory lies where no file can have it, or the chain is cut off by the file's end.
 */
CELUMBRANT_META_API int get_tif_tag(FILE* ifp, int requestedTag, int* tagLen,
                                    int* tagVal) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Gives a little-endian TIFF file another ICC profile, at its end; nothing else changes but
 * the count and offset of the profile's entry.
 *
 * The profile is appended first and the entry changed last: when the disk is full, or the machine
 * stops in between, the file has its old profile. The old profile's bytes stay in the file.
 *
 * @param newLenProfile  bytes of the profile.
 * @param newProfileBuf  the profile, read.
 * @param inputFile  path of the file; NUL-terminated.
 * @return
 *   newLenProfile: done.
 *   0: the file has no profile's entry, or is not a little-endian TIFF file; unchanged.
 *   -1: the file cannot be opened, which is printed on standard error: "Can not open input file for
 *       reading\n", "... for appending\n" or "... for update\n"; or the entry is gone meanwhile.
 *       The old profile holds.
 *   -2: something was not written, newLenProfile is negative, the entry is cut off, or the file has
 *       4 GiB or more: the old profile holds. Also for a newLenProfile of 0, but then the entry is
 *       changed: its count is 0.
 *   After a failure the file may be longer, by what was appended.
 */
CELUMBRANT_META_API int update_tif_profile(int newLenProfile, const unsigned char* newProfileBuf,
                                           const char* inputFile) CELUMBRANT_META_NOEXCEPT;

/** @} */

/**
 * @defgroup tiff TIFF writer
 *
 * The main job: a result picture saved as a TIFF file that carries the photograph's metadata again.
 * @{
 */

/** Entries of dimInfos, at least CELUMBRANT_DIM_ENTRIES integers; the others are not read. */
enum {
  CELUMBRANT_DIM_WIDTH = 0,  /**< pixels, 1 or more */
  CELUMBRANT_DIM_HEIGHT = 1, /**< rows, 0 or more */
  CELUMBRANT_DIM_SAMPLES =
      2, /**< of a pixel in the buffer: 1 grey, 2 and alpha, 3 RGB, 4 and alpha */
  CELUMBRANT_DIM_DEPTH = 3,       /**< 8 or 16: unsigned integers; or one of the two below */
  CELUMBRANT_DIM_DPI = 4,         /**< pixels per inch, 0 to 4294967; not tested */
  CELUMBRANT_DIM_PROFILE_LEN = 6, /**< bytes of the ICC profile, 0 for none */
  CELUMBRANT_DIM_16_TO_8 = 7,     /**< 1: 16-bit samples in the buffer, with a depth of 8; else 0 */
  CELUMBRANT_DIM_ORIENTATION = 10, /**< 1 to 8; any other number is written as 1 */
  CELUMBRANT_DIM_ENTRIES = 11
};

/** Depths of floating-point samples. */
enum {
  CELUMBRANT_DEPTH_FLOAT = 32, /**< 32-bit IEEE 754 */
  CELUMBRANT_DEPTH_HALF = 3216 /**< 16-bit IEEE 754, in the buffer and in the file */
};

/**
 * @brief Saves a picture as a TIFF file with its metadata.
 *
 * The file is little-endian, uncompressed, in one strip, and is written from beginning to end
 * without a seek: it may be a pipe. Alpha is not written. Make, model, EXIF and GPS values come from
 * the flat arrays. Memory is taken for 1 MiB of rows (or one row that is larger), the metadata and a
 * copy of the caller's packet.
 *
 * Of XMP packets one goes into the file: the caller's when it holds settings of method 1, 2, 3, 10,
 * 11 or 15, or when tmMethod is 0 or less; else one with the settings, when tmMethod is above 0,
 * and the lens name of exifBuf; when there is neither, none. Settings in a packet without a NUL at
 * its end do not count when others are to be written.
 *
 * @param inBuf  the pixels, read: rows from the top, samples of a pixel side by side, little-endian;
 *        of as many bytes as dimInfos and bpr say. May be NULL for a height of 0.
 * @param dimInfos  at least 11 integers, see above.
 * @param bpr  from the start of a row in inBuf to the next: bytes; 16-bit samples when
 *        CELUMBRANT_DIM_16_TO_8 is 1. At least the length of a row, and not tested. The last row
 *        needs no padding.
 * @param profileBuf  the ICC profile, read; one of more than 20 bytes whose colour space (bytes 16 to
 *        18) is not "RGB" is left out. May be NULL when there is none.
 * @param exifBuf  60 integers, read.
 * @param gpsBuf  24 integers, read.
 * @param iptc_len  bytes of the IPTC block, 0 for none; zeros fill it up to a multiple of 4.
 * @param iptc_buf  the block, read; may be NULL when there is none.
 * @param tmMethod  the method number of the settings to write; 0 or less: none.
 * @param tmParam  60 floats, read; may be NULL when tmMethod is 0 or less.
 * @param xmp_len  bytes of the caller's packet, 0 or less for none.
 * @param xmp_buf  the packet, read; may be NULL when there is none. A NUL at its end is not written;
 *        with a tmMethod below 0 its last byte is not, whatever it is. When nothing is left of it,
 *        there is no packet in the file.
 * @param nomfic  path of the file; NUL-terminated. One that exists is replaced.
 * @return
 *   0 or above: done; the rows that the last write of pixels held, 0 for a picture without rows.
 *   -1: the file cannot be opened, which is printed on standard error ("Could not open for writing
 *       file:  " and the name); or no memory for the metadata: the file ends behind the pixels.
 *   -2: the header was not written.
 *   -3: rows were not written: the file holds those before.
 *   -4: no memory for the rows: the file holds the header.
 *   -5: width, height, samples, depth or 16-to-8 is none of those above, the length of IPTC block
 *       or profile is negative, or the file would have 4 GiB or more; no file is touched.
 *   -12: the metadata did not reach the file.
 *   A file that was not written whole is closed and left as it is.
 */
CELUMBRANT_META_API int buf2tif(const unsigned char* inBuf, const int* dimInfos, int bpr,
                                const unsigned char* profileBuf, const int* exifBuf,
                                const int* gpsBuf, int iptc_len, const unsigned char* iptc_buf,
                                int tmMethod, const float* tmParam, int xmp_len,
                                const char* xmp_buf, const char* nomfic) CELUMBRANT_META_NOEXCEPT;

/** @} */

/**
 * @defgroup settings Settings
 *
 * The settings of one tone mapping or exposure fusion are a method number and a vector of
 * CBTM_SETTINGS_COUNT floats. What a position of the vector means depends on the method; positions
 * that a method does not use hold 0. In a picture or a settings file they stand as an XMP packet:
 * text in the namespace `http://ns.celumbrant.com/celumbrant_settings01` (the last two digits are a
 * sequence number) with the prefix `cbtm`, one element a setting, such as
 * `<cbtm:Strength>70.0</cbtm:Strength>`, frame and all some 2 KiB.
 * @{
 */

/** Floats in a settings vector, and integers in the found-flags that go with it. */
enum { CBTM_SETTINGS_COUNT = 60 };

/** The methods. Numbers that are not listed have no method. */
enum {
  CBTM_NO_METHOD = 0,
  CBTM_TEXTURE_SCULPTOR = 1,   /**< tone mapping */
  CBTM_RANGE_FLATTENER = 2,    /**< tone mapping */
  CBTM_BRILLIANCE_REFINER = 3, /**< tone mapping */
  CBTM_LIGHT_LEVELER = 4,      /**< tone mapping */
  CBTM_BLEND_LIFELIKE = 10,    /**< exposure fusion */
  CBTM_BLEND_EXPRESSIVE = 11,  /**< exposure fusion */
  CBTM_BLEND_UNLABELLED = 12,  /**< has defaults; can be written, but not read back */
  CBTM_BLEND_TWO_SHOTS = 13,   /**< exposure fusion of two images */
  CBTM_UNIFORM = 14,           /**< plain averaging */
  CBTM_BLEND_ROOMSCAPE = 15    /**< exposure fusion */
};

/** Positions that every method has. The lists hold one value for each of eight colour bands. */
enum {
  CBTM_SATURATION_COLORS = 21,  /**< 21 to 28 */
  CBTM_TEMPERATURE_COLORS = 31, /**< 31 to 38 */
  CBTM_BRIGHTNESS_COLORS = 41,  /**< 41 to 48 */
  CBTM_BLENDING_OPACITY = 51,
  CBTM_BLEND_WITH_EV = 52,
  CBTM_COLORS_IN_LIST = 8
};

/** Positions of CBTM_TEXTURE_SCULPTOR; in brackets the defaults other than 0. */
enum {
  CBTM_SCULPTOR_TONE_COMPRESSION = 0,
  CBTM_SCULPTOR_STRENGTH = 1, /**< [70] */
  CBTM_SCULPTOR_SATURATION = 2,
  CBTM_SCULPTOR_WHITE_CLIP = 3, /**< [0.25] */
  CBTM_SCULPTOR_BLACK_CLIP = 4,
  CBTM_SCULPTOR_SMOOTHING_WORD = 5, /**< 0 very high, 1 high [1], 2 medium, 3 low, 4 very low */
  CBTM_SCULPTOR_DETAIL_CONTRAST = 6,
  CBTM_SCULPTOR_MICROSMOOTHING = 7, /**< [2] */
  CBTM_SCULPTOR_BRIGHTNESS = 8,
  CBTM_SCULPTOR_HIGHLIGHTS_SMOOTHING = 9,
  CBTM_SCULPTOR_SHADOWS_SMOOTHING = 10,
  CBTM_SCULPTOR_SHADOWS_CLIPPING = 11,
  CBTM_SCULPTOR_COLOR_TEMPERATURE = 12,
  CBTM_SCULPTOR_SATURATION_HIGHLIGHTS = 13,
  CBTM_SCULPTOR_SATURATION_SHADOWS = 14,
  CBTM_SCULPTOR_IS_PANO_360 = 15,    /**< 1 yes, 0 no */
  CBTM_SCULPTOR_SMOOTHING_MODE = 16, /**< 0: SMOOTHING_WORD holds; 1: SMOOTHING_NUMBER [1] */
  CBTM_SCULPTOR_SMOOTHING_NUMBER = 17
};

/** Positions of CBTM_RANGE_FLATTENER; all defaults are 0. */
enum {
  CBTM_FLATTENER_BRIGHTNESS = 0,
  CBTM_FLATTENER_COMPRESSION = 1,
  CBTM_FLATTENER_CONTRAST = 2,
  CBTM_FLATTENER_WHITE_CLIP = 3,
  CBTM_FLATTENER_BLACK_CLIP = 4,
  CBTM_FLATTENER_COLOR_TEMPERATURE = 12,
  CBTM_FLATTENER_SATURATION = 13
};

/** Positions of CBTM_BRILLIANCE_REFINER. A clip is written as 10 * (clip / 10)^0.32637900460077. */
enum {
  CBTM_REFINER_STRENGTH = 0, /**< [50] */
  CBTM_REFINER_TONE_COMPRESSION = 1,
  CBTM_REFINER_LIGHTING_EFFECT = 2, /**< [20] */
  CBTM_REFINER_WHITE_CLIP = 3,      /**< [0.6] */
  CBTM_REFINER_BLACK_CLIP = 4,      /**< [0.25] */
  CBTM_REFINER_BRIGHTNESS = 8,
  CBTM_REFINER_LUMINANCE = 9,
  CBTM_REFINER_COLOR_TEMPERATURE = 12,
  CBTM_REFINER_SATURATION = 13,
  CBTM_REFINER_IS_PANO_360 = 15 /**< 1 yes, 0 no */
};

/** Positions of CBTM_LIGHT_LEVELER. Clips are written as for CBTM_BRILLIANCE_REFINER. */
enum {
  CBTM_LEVELER_STRENGTH = 0, /**< [50] */
  CBTM_LEVELER_LIGHTING = 1,
  CBTM_LEVELER_BOOST = 2,
  CBTM_LEVELER_WHITE_CLIP = 3, /**< [0.60359085], which is written as 4.000 */
  CBTM_LEVELER_BLACK_CLIP = 4,
  CBTM_LEVELER_MICROCONTRAST = 5,
  CBTM_LEVELER_BRIGHTNESS = 8,
  CBTM_LEVELER_COLOR_TEMPERATURE = 12,
  CBTM_LEVELER_SATURATION = 13,
  CBTM_LEVELER_IS_PANO_360 = 15 /**< 1 yes, 0 no */
};

/** Positions of CBTM_BLEND_LIFELIKE. */
enum {
  CBTM_LIFELIKE_STRENGTH = 0,
  CBTM_LIFELIKE_EXPOSURE_BALANCE = 1,
  CBTM_LIFELIKE_SHADOWS_CONTRAST = 2,
  CBTM_LIFELIKE_SATURATION = 3,
  CBTM_LIFELIKE_WHITE_CLIP = 4,
  CBTM_LIFELIKE_BLACK_CLIP = 5,
  CBTM_LIFELIKE_BRIGHTNESS = 6,
  CBTM_LIFELIKE_IS_PANO_360 = 7, /**< 1 yes, 0 no */
  CBTM_LIFELIKE_SHARPNESS = 8,   /**< [2] */
  CBTM_LIFELIKE_COLOR_TEMPERATURE = 12
};

/** Positions of CBTM_BLEND_EXPRESSIVE. */
enum {
  CBTM_EXPRESSIVE_STRENGTH = 0,
  CBTM_EXPRESSIVE_SATURATION = 1,
  CBTM_EXPRESSIVE_RADIUS = 2, /**< [70] */
  CBTM_EXPRESSIVE_BRIGHTNESS = 6,
  CBTM_EXPRESSIVE_COLOR_TEMPERATURE = 12
};

/** Positions of CBTM_BLEND_TWO_SHOTS and CBTM_UNIFORM; all defaults are 0. */
enum { CBTM_PLAIN_BRIGHTNESS = 6, CBTM_PLAIN_COLOR_TEMPERATURE = 12, CBTM_PLAIN_SATURATION = 13 };

/** Positions of CBTM_BLEND_ROOMSCAPE. The last one is in no packet. */
enum {
  CBTM_ROOMSCAPE_DEPTH_HIGHLIGHTS = 0,
  CBTM_ROOMSCAPE_HIGHLIGHTS = 1,
  CBTM_ROOMSCAPE_SHADOWS = 2,
  CBTM_ROOMSCAPE_SATURATION = 3,
  CBTM_ROOMSCAPE_BRIGHTNESS = 6,
  CBTM_ROOMSCAPE_IS_PANO_360 = 7,    /**< 1 yes, 0 no */
  CBTM_ROOMSCAPE_LOCAL_CONTRAST = 8, /**< [2] */
  CBTM_ROOMSCAPE_UNWRITTEN = 9,      /**< [1] */
  CBTM_ROOMSCAPE_COLOR_TEMPERATURE = 12
};

/** Positions of CBTM_BLEND_UNLABELLED; neither is in a packet. */
enum {
  CBTM_UNLABELLED_LOCAL_CONTRAST = 8, /**< [2] */
  CBTM_UNLABELLED_UNWRITTEN = 9       /**< [1] */
};

/** What a method number may be replaced with, or have added to it, as a request. */
enum {
  CBTM_QUERY_METHOD = -1,   /**< settingsType: only the packet's method number is wanted */
  CBTM_QUERY_LENS = 100,    /**< settingsType: only the packet's lens name is wanted */
  CBTM_WITHOUT_FRAME = 200, /**< added to curMethod: the settings description alone */
  CBTM_MEASURE = 0          /**< embedType: write nothing, return the length */
};

/** The kinds of value that searchForTag reads. */
enum { CBTM_TAG_NUMBER = 0, CBTM_TAG_YES_NO = 1, CBTM_TAG_LIST_OF_EIGHT = 20 };

/** Most bytes of a lens name that a lens query copies; the buffer needs one more for its NUL. */
enum { CBTM_LENS_NAME_MAX = 63 };

/**
 * @brief Sets a settings vector to the defaults of a method.
 *
 * @param tmMethod  the method number; for one without defaults of its own all values become 0.
 * @param[out] tmParam  60 floats, all written.
 * @return 0 always.
 */
CELUMBRANT_META_API int def_param(int tmMethod, float* tmParam) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Finds one settings element in the text of a packet and stores its value.
 *
 * The element is its name followed by one byte, ">" or "=", byte for byte; nothing else of XML is
 * understood. The first element of that name is taken, if at least one byte of the text follows
 * that name and byte. Nothing happens when the position has been found before.
 *
 * @param iParam  the position in valParam to fill, 0 to 59; 21 to 49 for a list of eight.
 * @param strInputTag  the element's name with its prefix, such as "cbtm:Strength"; NUL-terminated,
 *        not empty.
 * @param tagType  the kind of value:
 *        CBTM_TAG_NUMBER, a number as scanf's "%f" takes it, or one that begins a byte later;
 *        CBTM_TAG_YES_NO, 1.0 when the text begins with "Yes", else 0.0;
 *        CBTM_TAG_LIST_OF_EIGHT, eight numbers with commas between them, stored only when all eight
 *        are there. Elements are passed over with any other kind.
 * @param xmpData  the text to search, lenMax bytes, read.
 * @param lenAfterTag  1 for `<name>value`, where the name ends in ">"; 2 for `name="value"`, where
 *        it ends in "=" and a quote of either kind is passed over.
 * @param lenMax  bytes of xmpData.
 * @param[in,out] foundParam  60 integers; foundParam[iParam] is set to 1 when the element is there,
 *        even when its text could not be parsed.
 * @param[in,out] valParam  60 floats; only valParam[iParam], or eight from there on, are written;
 *        numbers only when they could be parsed.
 * @return the position of the element's name in xmpData; when there is none, the position at which
 *         the search ended (lenMax less the name's length less 1, at least 0);
 *         0 when foundParam[iParam] was set before, an argument lies outside the above, or there is
 *         no memory for a copy of the name.
 */
CELUMBRANT_META_API int searchForTag(int iParam, const char* strInputTag, int tagType,
                                     const char* xmpData, int lenAfterTag, int lenMax,
                                     int* foundParam, float* valParam) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Reads settings, the method number or the lens name from the text of an XMP packet.
 *
 * A full read sets the vector to the method's defaults and overwrites every value that the packet
 * holds; a value that is no number keeps its default. Elements and attributes are both understood,
 * with quotes of either kind; the method's own form is that of all the others. What counts is the
 * first declaration of the namespace, the first `cbtm:Version` of two numbers behind it, the first
 * `cbtm:Method` behind that, and the elements behind the method.
 *
 * @param settingsType  the method whose settings are wanted, for a full read; 0 for the values that
 *        all methods share, from a packet whose method is not known; CBTM_QUERY_METHOD; or
 *        CBTM_QUERY_LENS.
 * @param lenXmp  bytes of xmpData, the NUL at their end included.
 * @param xmpData  the packet, read; the byte at lenXmp - 1 must be NUL.
 * @param[out] lens_info  for CBTM_QUERY_LENS: at least 64 bytes that the caller has set to zero.
 *        Receives a name of 1 to 63 bytes and no NUL; a longer name is not copied. May be NULL
 *        otherwise.
 * @param[out] valParam  for a full read: 60 floats, all written; untouched when the result is not
 *        a full read's. May be NULL for the two queries.
 * @return
 *   -3: the byte at lenXmp - 1 is not NUL, or lenXmp is below 1.
 *   -5: full read or CBTM_QUERY_METHOD: the packet's method is not settingsType, or the packet
 *       names none (which a settingsType of 0 accepts).
 *   0: full read or CBTM_QUERY_METHOD: the packet holds no settings; for CBTM_QUERY_METHOD also: a
 *       method that is not known.
 *   Full read: the position of the "cbtm:Method" text that was used, above 0; with settingsType 0
 *       and no such text, the position at which the search for it ended.
 *   CBTM_QUERY_METHOD: 1, 2, 3, 4, 10, 11, 13, 14 or 15, the packet's method.
 *   CBTM_QUERY_LENS: the position at which the copied name ended, or at which the search ended
 *       when nothing was copied.
 */
CELUMBRANT_META_API int get_settings_from_xmp(int settingsType, int lenXmp, const char* xmpData,
                                              char* lens_info,
                                              float* valParam) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Reads a settings file.
 *
 * @param filename  path of the file, which is read whole.
 * @param settingsType  as for get_settings_from_xmp; CBTM_QUERY_LENS, for which there is no buffer
 *        here, copies nothing.
 * @param[out] valParam  60 floats, written by a full read only. May be NULL for a query.
 * @return
 *   -1: the file cannot be opened, or its size cannot be had.
 *   -2: it could not be read to its end.
 *   -4: no memory for it, or it has 2 GiB less one byte, or more.
 *   Otherwise the result of get_settings_from_xmp; 0 for an empty file.
 */
CELUMBRANT_META_API int read_xmp(const char* filename, int settingsType,
                                 float* valParam) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Measures or writes a settings packet.
 *
 * @param embedType  CBTM_MEASURE: nothing is written. 2 or above: written with this sequence number
 *        at the end of the namespace, in two digits or as many as it needs. Any other number:
 *        written with sequence number 1.
 * @param curMethod  the method number. When above 200, 200 is taken off and the frame of the packet
 *        is left out. 0 or less (after that): no settings, only the frame and the lens.
 * @param valParam  60 floats, read; may be NULL when there are no settings.
 * @param lensInfoLen  above 0: the lens name is written as well. Not used as a length.
 * @param lens_info  the lens name, NUL-terminated, written as it stands; may be NULL when
 *        lensInfoLen is 0 or less.
 * @param[out] xmpData  receives exactly as many bytes as the result says, no NUL. They are as many
 *        as a measuring call with the same arguments returned; a sequence number above 99 takes one
 *        more for each digit beyond two. May be NULL for CBTM_MEASURE.
 * @return the packet's length in bytes. There is no failure.
 */
CELUMBRANT_META_API int embed_xmp(int embedType, int curMethod, const float* valParam,
                                  int lensInfoLen, const char* lens_info,
                                  char* xmpData) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Writes a settings file: a whole packet, without a lens name.
 *
 * @param filename  path of the file; one that exists is replaced.
 * @param settingsType  the method number, 1 to 15. The file of a method without a label (12 and 5
 *        to 9) cannot be read back.
 * @param valParam  60 floats, read.
 * @return
 *   1: the file was written.
 *   -1: it cannot be created.
 *   -2: settingsType is out of range; no file is touched.
 *   -3: the packet did not reach the file whole, which is left as far as it was written.
 *   -4: no memory for the packet; the file is left empty.
 */
CELUMBRANT_META_API int write_xmp(const char* filename, int settingsType,
                                  const float* valParam) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Measures or makes the insertion of settings into a packet that exists.
 *
 * The settings come before every description that the packet holds, so that a later full read reads
 * them; what was there before stays as it was.
 *
 * @param embedType  CBTM_MEASURE, or as for embed_xmp; at most 99, since the measured length is
 *        that of a sequence number of two digits.
 * @param curMethod  the method number, 1 to 15.
 * @param valParam  60 floats, read.
 * @param existingXmpLen  bytes of the packet in inOutXmpData; a NUL that they count moves along.
 * @param insertedLen  the result of the measuring call with the same curMethod and valParam; with
 *        any other number the packet would be torn.
 * @param[in,out] inOutXmpData  the packet, with room for existingXmpLen + insertedLen bytes, which
 *        it has afterwards. Unchanged on failure. May be NULL for CBTM_MEASURE.
 * @return
 *   above 0: the bytes that the settings take: inserted, or measured.
 *   -1: 2 bytes or fewer follow the place of insertion.
 *   -4: no memory for a copy of the bytes that follow it.
 *   -34 or below: the packet has no `<x:xmpmeta` with the namespace "adobe:ns:meta/", or no bare
 *       `<rdf:RDF` start tag after it: the position at which the search ended plus the length of
 *       what was looked for (34 or 65 bytes), negated.
 */
CELUMBRANT_META_API int insert_xmp(int embedType, int curMethod, const float* valParam,
                                   int existingXmpLen, int insertedLen,
                                   char* inOutXmpData) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Counts the settings descriptions in a packet, by their namespace declarations.
 *
 * @param lenXmp  bytes of xmpData, the NUL at their end included.
 * @param xmpData  the packet, read; the byte at lenXmp - 1 must be NUL.
 * @return the number of declarations, 0 or more; -3 when the byte at lenXmp - 1 is not NUL, or
 *         lenXmp is below 1.
 */
CELUMBRANT_META_API int cbsettings_occurences_in_xmp(int lenXmp,
                                                     const char* xmpData) CELUMBRANT_META_NOEXCEPT;

/** @} */

/**
 * @defgroup utilities Utilities
 *
 * Small services beside the metadata.
 * @{
 */

/**
 * @brief Measures the brightness range of an HDR picture in the shared-exponent (RGBE) form.
 *
 * A pixel with the mantissas m0, m1, m2 and the exponent e has the luminance
 * ((19 * m0 + 183 * m1 + 54 * m2) >> 8) * 2^(e - 128), a single-precision number that is infinite
 * when it is too large for one. A pixel whose exponent is 0 is black and is passed over. The mean
 * is exactly that of the luminances added in double precision, pixel by pixel in the order in which
 * they stand, and divided by their number (rounded to single precision).
 *
 * @param iMax  width in pixels.
 * @param jMax  height in rows. With a width or height of 0 or less there are no pixels.
 * @param rgbe  the pixels, 4 * iMax * jMax bytes, read; more than 2 GiB are fine. Each row is four
 *        planes of iMax bytes: all m0, all m1, all m2, all exponents. May be NULL when there are no
 *        pixels.
 * @param[out] pixDim  3 floats:
 *        [0] the smallest luminance above 0; 99999997952.0 when there is none or all are larger;
 *        [1] the largest; 0 when there is none;
 *        [2] the mean over all pixels but the black ones, those of luminance 0 included; 0 when all
 *        are black.
 * @return the number of rows, jMax, or 0 when jMax is below 0; -4: no memory for a table of 1 KiB,
 *         and pixDim is untouched.
 */
CELUMBRANT_META_API int hdrMinMax(int iMax, int jMax, const unsigned char* rgbe,
                                  float* pixDim) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Gives the seconds from a date and time, as EXIF writes them, to a reference time.
 *
 * @param date_time  "YYYY:MM:DD HH:MM:SS", NUL-terminated, as local time of the process; the time
 *        zone decides whether daylight saving time holds. It is read as scanf's
 *        "%d:%d:%d %d:%d:%d" reads it, whatever follows. Numbers out of their range carry over
 *        (month 13 is the next January); those that no int holds count as the nearest one. The text
 *        of exifBuf may lack its NUL.
 * @param time_ref  the reference time, in seconds since the epoch.
 * @param[out] timeInSeconds  1 float: the seconds by which the reference is later, negative when it
 *        is earlier. Whole seconds are exact up to 2^24, about 194 days.
 * @return 1: timeInSeconds was written.
 *         -1: the text does not hold six numbers in this form, its time is not after the epoch or
 *         the platform cannot represent it; timeInSeconds is untouched.
 */
CELUMBRANT_META_API int time_from_datetime(const char* date_time, time_t time_ref,
                                           float* timeInSeconds) CELUMBRANT_META_NOEXCEPT;

/** @} */

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* CELUMBRANTMETALIB_H_ */
