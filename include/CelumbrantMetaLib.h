/* SPDX-License-Identifier: MIT */

/**
 * @file CelumbrantMetaLib.h
 * @brief Image metadata of an HDR photography application: the whole public interface.
 *
 * Conventions, which hold for every function below:
 *
 *  1. Every function returns a 32-bit signed integer: a length, a count, a position or 1 on
 * success, 0 for nothing found, a small negative number for a failure. Each function lists its
 * results.
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

#define CELUMBRANT_META_VERSION_MAJOR 0
#define CELUMBRANT_META_VERSION_MINOR 1
#define CELUMBRANT_META_VERSION_PATCH 0

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

#ifdef __cplusplus
#define CELUMBRANT_META_NOEXCEPT noexcept
extern "C" {
#else
#define CELUMBRANT_META_NOEXCEPT
#endif

/**
 * @defgroup settings Settings
 *
 * The settings of one tone mapping or exposure fusion are a method number and a vector of
 * CBTM_SETTINGS_COUNT floats. What a position of the vector means depends on the method; positions
 * that a method does not use hold 0. In a picture or a settings file they stand as an XMP packet:
 * text in a namespace with the prefix `cbtm`, one element a setting, frame and all some 2 KiB.
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

/** Positions of CBTM_BRILLIANCE_REFINER. A clip v is written as 10 * (v / 10)^0.3263790046007694.
 */
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
 * @param strInputTag  the element's name with its prefix, such as "cbtm:Strength"; NUL-terminated.
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
 * @param[in,out] valParam  60 floats; only valParam[iParam], or eight from there on, are written,
 *        and only with a value that was parsed.
 * @return the position of the element's name in xmpData; when there is none, the position at which
 *         the search ended (lenMax less the name's length less 1, at least 0);
 *         0 when foundParam[iParam] was set before or an argument lies outside the above.
 */
CELUMBRANT_META_API int searchForTag(int iParam, const char* strInputTag, int tagType,
                                     const char* xmpData, int lenAfterTag, int lenMax,
                                     int* foundParam, float* valParam) CELUMBRANT_META_NOEXCEPT;

/**
 * @brief Reads settings, the method number or the lens name from the text of an XMP packet.
 *
 * A full read sets the vector to the method's defaults and overwrites every value that the packet
 * holds. Elements and attributes are both understood, with quotes of either kind.
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
 *   -5: the packet's method is not settingsType, or the packet names none (also for
 *       CBTM_QUERY_METHOD).
 *   0: the packet holds no settings; for CBTM_QUERY_METHOD also: a method that is not known.
 *   Full read: the position of the "cbtm:Method" text that was used, above 0; with settingsType 0
 *       and no such text, the position at which the search for it ended.
 *   CBTM_QUERY_METHOD: 1, 2, 3, 4, 10, 11, 13, 14 or 15, the packet's method.
 *   CBTM_QUERY_LENS: the position at which the copied name ended, or at which the search ended when
 *       nothing was copied.
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
 *   -4: no memory for it, or it has 2 GiB or more.
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
 * @param embedType  CBTM_MEASURE, or as for embed_xmp (at most 99).
 * @param curMethod  the method number, 1 to 15.
 * @param valParam  60 floats, read.
 * @param existingXmpLen  bytes of the packet in inOutXmpData; a NUL that they count moves along.
 * @param insertedLen  the result of the measuring call with the same curMethod and valParam.
 * @param[in,out] inOutXmpData  the packet, with room for existingXmpLen + insertedLen bytes, which
 *        it has afterwards. Unchanged on failure. May be NULL for CBTM_MEASURE.
 * @return
 *   above 0: the bytes that the settings take: inserted, or measured.
 *   -1: 2 bytes or fewer follow the place of insertion.
 *   -4: no memory for a copy of the bytes that follow it.
 *   -34 or below: the packet has no `<x:xmpmeta` with the namespace "adobe:ns:meta/", or no bare
 *       `<rdf:RDF` start tag after it; the negated position at which the search ended.
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
 *        (month 13 is the next January); those that are too large for an int count as the largest.
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
