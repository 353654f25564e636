// SPDX-License-Identifier: MIT

#include "photo_view.h"

#include <cmath>
#include <optional>

#include "settings_text.h"
#include "text.h"

namespace celumbrant_meta {
namespace {

using Json = nlohmann::ordered_json;

// What the record's own numbers mean, in the units of people; absent where the file tells nothing.
struct Position {
  double degrees;       // negative in the south and west
  std::string written;  // 48° 12' 31.5" N
};

struct Facts {
  std::string make, model, lens, date_time;
  std::optional<double> exposure, aperture, focal_length;
  std::optional<int> iso, focal_35, orientation;
  std::optional<Position> latitude, longitude;
  std::optional<double> altitude;
  std::string gps_date, gps_time;
  std::vector<std::string> keywords;
  int method = CBTM_NO_METHOD;
};

constexpr const char* kOrientations[] = {
    "",
    "upright",
    "mirrored; flip left to right",
    "upside down; turn by 180 degrees",
    "mirrored; flip top to bottom",
    "mirrored; flip left to right and turn 90 degrees counter-clockwise",
    "lying; turn 90 degrees clockwise",
    "mirrored; flip left to right and turn 90 degrees clockwise",
    "lying; turn 90 degrees counter-clockwise",
};

template <class Number>
std::optional<double> positive(Number number) {
  if (!(number > 0) || std::isinf(static_cast<double>(number))) return std::nullopt;
  return as_written(static_cast<float>(number));
}

std::optional<int> positive_int(int number) {
  return number > 0 ? std::optional(number) : std::nullopt;
}

std::optional<double> rational(const int* fraction) {
  if (fraction[1] == 0) return std::nullopt;
  return static_cast<double>(fraction[0]) / fraction[1];
}

// Cameras that have no fix write a reference without numbers, or 0/0.
std::optional<Position> position(const int* value, char reference, char positive_reference,
                                 char negative_reference) {
  const std::optional<double> degrees = rational(value);
  if (!degrees || (reference != positive_reference && reference != negative_reference))
    return std::nullopt;
  const double minutes = rational(value + 2).value_or(0.0);
  const double seconds = rational(value + 4).value_or(0.0);
  const double size = *degrees + minutes / 60.0 + seconds / 3600.0;
  return Position{reference == negative_reference ? -size : size,
                  format("%.9g\u00B0 %.9g' %.9g\" %c", *degrees, minutes, seconds, reference)};
}

std::string gps_time(const int* value) {
  const std::optional<double> hours = rational(value);
  const std::optional<double> minutes = rational(value + 2);
  const std::optional<double> seconds = rational(value + 4);
  if (!hours || !minutes || !seconds) return {};
  const std::string whole = format("%02.0f:%02.0f:", *hours, *minutes);
  return whole + format(*seconds == std::floor(*seconds) ? "%02.0f" : "%06.3f", *seconds);
}

int method_in(const Photo& photo) {
  const std::string packet = xmp_of(photo);
  if (packet.empty()) return CBTM_NO_METHOD;
  return get_settings_from_xmp(CBTM_QUERY_METHOD, static_cast<int>(packet.size()), packet.data(),
                               nullptr, nullptr);
}

Facts facts_of(const Photo& photo) {
  const ExifInfo2& record = photo.record;
  Facts facts;
  facts.make = printable(measure_exif(photo).make_text.data());
  facts.model = printable(text_of(record.model, sizeof record.model - 1));
  facts.lens = printable(text_of(reinterpret_cast<const char*>(record.lens), CBTM_LENS_NAME_MAX));
  facts.date_time = printable(text_of(record.date_time, sizeof record.date_time));
  facts.exposure = positive(record.exposure);
  facts.aperture = positive(record.aperture);
  facts.focal_length = positive(record.focalLength);
  facts.iso = positive_int(record.iso);
  facts.focal_35 = positive_int(record.focal35);
  if (record.orientation >= 1 && record.orientation <= 8) facts.orientation = record.orientation;
  facts.latitude = position(record.lat_val, record.lat_ref, 'N', 'S');
  facts.longitude = position(record.long_val, record.long_ref, 'E', 'W');
  facts.altitude = rational(record.alt_val);
  if (facts.altitude && record.alt_ref == 1) *facts.altitude = -*facts.altitude;
  facts.gps_date = printable(text_of(record.gps_datestamp, sizeof record.gps_datestamp));
  facts.gps_time = gps_time(record.gps_timestamp);
  for (const std::string& keyword : keywords_of(iptc_of(photo).value_or("")))
    facts.keywords.push_back(printable(keyword));
  facts.method = method_in(photo);
  return facts;
}

// Exposure times as cameras show them: 1/250, 0.5, 30.
std::string exposure_text(double seconds) {
  if (seconds < 0.25001) return format("1/%.0f s", std::round(1.0 / seconds));
  return plain_number(std::round(seconds * 10.0) / 10.0) + " s";
}

template <class Value>
void put(Json& object, const char* key, const std::optional<Value>& value) {
  if (value) object[key] = *value;
}

void put(Json& object, const char* key, const std::string& text) {
  if (!text.empty()) object[key] = text;
}

void put(Json& object, const char* key, const Json& part) {
  if (!part.empty()) object[key] = part;
}

Json place(int offset, int bytes) {
  return bytes > 0 ? Json{{"offset", offset}, {"bytes", bytes}} : Json();
}

Json gps_json(const Facts& facts) {
  Json gps;
  if (facts.latitude) gps["latitude"] = facts.latitude->degrees;
  if (facts.longitude) gps["longitude"] = facts.longitude->degrees;
  put(gps, "altitude_m", facts.altitude);
  put(gps, "date", facts.gps_date);
  put(gps, "time", facts.gps_time);
  if (facts.latitude) gps["latitude_written"] = facts.latitude->written;
  if (facts.longitude) gps["longitude_written"] = facts.longitude->written;
  return gps;
}

Json thumbnail_json(const ExifInfo2& record) {
  Json thumbnail = place(record.thumb_offset, record.thumb_datalen);
  if (thumbnail.empty()) return thumbnail;
  put(thumbnail, "width", positive_int(record.thumb_width));
  put(thumbnail, "height", positive_int(record.thumb_height));
  return thumbnail;
}

// The lines of a table: a label and a value.
class Table {
 public:
  Table(const Photo& photo, bool colour) : colour_(colour) {
    text_ = bold(printable(photo.file)) + " (" + photo.format.name + ")\n";
  }
  void line(const char* label, const std::string& value) {
    if (!value.empty()) text_ += "  " + bold(format("%-15s", label)) + value + "\n";
  }
  std::string take() { return std::move(text_); }

 private:
  std::string bold(const std::string& text) const {
    return colour_ ? "\033[1m" + text + "\033[0m" : text;
  }
  bool colour_;
  std::string text_;
};

std::string place_text(int offset, int bytes) {
  return bytes > 0 ? format("%d bytes at %d", bytes, offset) : std::string();
}

void add_position(Table& table, const Facts& facts) {
  if (facts.latitude && facts.longitude) {
    table.line("position", format("%.6f, %.6f", facts.latitude->degrees, facts.longitude->degrees));
    table.line("as written", facts.latitude->written + ", " + facts.longitude->written);
  }
  if (facts.altitude) {
    table.line("altitude", format("%.1f m %s sea level", std::abs(*facts.altitude),
                                  *facts.altitude < 0 ? "below" : "above"));
  }
  table.line("GPS date", facts.gps_date);
  table.line("GPS time", facts.gps_time);
}

void add_exposure(Table& table, const Facts& facts) {
  if (facts.exposure) table.line("exposure", exposure_text(*facts.exposure));
  if (facts.aperture) table.line("aperture", "f/" + plain_number(*facts.aperture));
  if (facts.iso) table.line("ISO", std::to_string(*facts.iso));
  if (facts.focal_length) table.line("focal length", plain_number(*facts.focal_length) + " mm");
  if (facts.focal_35) table.line("in 35 mm film", std::to_string(*facts.focal_35) + " mm");
}

}  // namespace

Json json_of(const Photo& photo) {
  const Facts facts = facts_of(photo);
  const ExifInfo2& record = photo.record;
  Json object{{"file", utf8_of(photo.file)}, {"format", photo.format.name}};
  put(object, "make", facts.make);
  put(object, "model", facts.model);
  put(object, "lens", facts.lens);
  put(object, "date_time", facts.date_time);
  put(object, "exposure_s", facts.exposure);
  put(object, "f_number", facts.aperture);
  put(object, "iso", facts.iso);
  put(object, "focal_length_mm", facts.focal_length);
  put(object, "focal_length_35mm", facts.focal_35);
  put(object, "orientation", facts.orientation);
  put(object, "gps", gps_json(facts));
  put(object, "thumbnail", thumbnail_json(record));
  Json iptc = place(record.iptc_offset, record.iptc_len);
  if (!facts.keywords.empty()) iptc["keywords"] = facts.keywords;
  put(object, "iptc", iptc);
  put(object, "xmp", place(record.embeddedXmp_offset, record.embeddedXmp_len));
  if (facts.method > 0)
    object["settings"] = {{"method", facts.method}, {"name", method_name(facts.method)}};
  return object;
}

std::string table_of(const Photo& photo, bool colour) {
  const Facts facts = facts_of(photo);
  const ExifInfo2& record = photo.record;
  Table table(photo, colour);
  table.line("make", facts.make);
  table.line("model", facts.model);
  table.line("lens", facts.lens);
  table.line("taken", facts.date_time);
  add_exposure(table, facts);
  if (facts.orientation)
    table.line("orientation", kOrientations[static_cast<std::size_t>(*facts.orientation)]);
  add_position(table, facts);
  std::string thumbnail = place_text(record.thumb_offset, record.thumb_datalen);
  if (!thumbnail.empty() && record.thumb_width > 0)
    thumbnail += format(", %d x %d", record.thumb_width, record.thumb_height);
  table.line("thumbnail", thumbnail);
  table.line("IPTC", place_text(record.iptc_offset, record.iptc_len));
  table.line("keywords", joined(facts.keywords, ", "));
  table.line("XMP", place_text(record.embeddedXmp_offset, record.embeddedXmp_len));
  if (facts.method > 0) table.line("settings", method_name(facts.method));
  return table.take();
}

}  // namespace celumbrant_meta
