// SPDX-License-Identifier: MIT
//
// Tone-mapping settings as XMP. A packet as written here, every line ended by one line feed:
//
//   <x:xmpmeta xmlns:x='adobe:ns:meta/'>                          frame head
//   <rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>
//   (empty line)
//   <rdf:Description rdf:about=''                                 lens, when there is one
//   xmlns:aux='http://ns.adobe.com/exif/1.0/aux/'>
//   <aux:Lens>50mm f/1.8</aux:Lens>
//   </rdf:Description>
//   (empty line)
//   <rdf:Description rdf:about=''                                 settings
//   xmlns:cbtm='http://ns.celumbrant.com/celumbrant_settings01'>  01: the sequence number
//   <cbtm:Version>6.0</cbtm:Version>
//   <cbtm:Method>Blend/Expressive</cbtm:Method>
//   <cbtm:Strength>0.0</cbtm:Strength>                            the rows of the method, in order,
//   ...                                                           then those of all methods
//   </rdf:Description>
//   (empty line)
//   </rdf:RDF>                                                    frame tail
//   </x:xmpmeta>
//
// The reader takes packets as bytes, not as XML: it looks for the namespace, the version, the
// method and the elements in this order, each behind the one before. It also takes settings as
// attributes (cbtm:Strength="0.0"), whatever other programs have made of the elements.

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <tuple>

#include "file.h"
#include "number_text.h"
#include "packet_search.h"
#include "settings_vocabulary.h"

namespace celumbrant {
namespace {

constexpr std::string_view kFrameStart = "<x:xmpmeta xmlns:x='adobe:ns:meta/";
constexpr std::string_view kRdfStart =
    "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>";
constexpr std::string_view kLensNamespace = "xmlns:aux='http://ns.adobe.com/exif/1.0/aux/";
constexpr std::string_view kSettingsNamespace = "xmlns:cbtm='http://ns.celumbrant.com/";
constexpr std::string_view kPrefix = "cbtm:";
constexpr std::string_view kVersion = "cbtm:Version";
constexpr std::string_view kMethod = "cbtm:Method";
constexpr std::string_view kLens = "aux:Lens";
constexpr std::string_view kLensEnd = "</aux:Lens";

// Each with the place of two bytes that text which holds no settings rarely has.
constexpr SearchKey kFrameKey{kFrameStart, kFrameStart.find("x:")};
constexpr SearchKey kRdfKey{kRdfStart, kRdfStart.find("DF")};
constexpr SearchKey kLensNamespaceKey{kLensNamespace, kLensNamespace.find("ux")};
constexpr SearchKey kSettingsNamespaceKey{kSettingsNamespace, kSettingsNamespace.find("cb")};
constexpr SearchKey kPrefixKey{kPrefix, 0};
constexpr SearchKey kVersionKey{kVersion, 0};
constexpr SearchKey kMethodKey{kMethod, 0};
constexpr SearchKey kLensKey{kLens, kLens.find("ux")};

// Where an element's value begins, counted from the end of its name; the byte there tells the form.
enum Form : std::size_t {
  kElementForm = 1,   // <name>value
  kAttributeForm = 2  // name="value"
};

constexpr char end_of_name(Form form) {
  return form == kElementForm ? '>' : '=';
}

// The part of a text from a position on; empty beyond its end.
std::string_view from(std::string_view text, std::size_t position) {
  return text.substr(std::min(position, text.size()));
}

// ---- Values ------------------------------------------------------------------------------------

// Whatever stands one byte before a number, a quote for instance, is passed over.
void read_number(std::string_view text, float& value) {
  auto number = scan_float(text);
  if (!number) number = scan_float(from(text, 1));
  if (number) value = number->value;
}

float yes_or_no(std::string_view text) {
  return text.starts_with(kYes) ? 1.0F : 0.0F;
}

// All of the list or none of it.
void read_list(std::string_view text, float* values) {
  std::array<float, CBTM_COLORS_IN_LIST> list{};
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i > 0 && !text.starts_with(',')) return;
    const auto number = scan_float(from(text, i > 0 ? 1 : 0));
    if (!number) return;
    list[i] = number->value;
    text = number->rest;
  }
  std::ranges::copy(list, values);
}

// A value of the kind that searchForTag is asked for.
void read_tag(int tagType, std::string_view text, float* value) {
  if (tagType == CBTM_TAG_LIST_OF_EIGHT) return read_list(text, value);
  if (tagType == CBTM_TAG_YES_NO) {
    *value = yes_or_no(text);
  } else {
    read_number(text, *value);
  }
}

// Whether searchForTag can fill the position, or eight from there on.
bool is_position(int iParam, bool is_list) {
  constexpr int kFirstList = 21;
  constexpr int kLastList = 49;
  if (is_list) return iParam >= kFirstList && iParam <= kLastList;
  return iParam >= 0 && iParam < CBTM_SETTINGS_COUNT;
}

// The number of the first word that the text begins with; any other text leaves the value.
void read_word(std::string_view text, std::span<const std::string_view> words, float& value) {
  const auto word = std::ranges::find_if(words, [&](auto w) { return text.starts_with(w); });
  if (word != words.end()) value = static_cast<float>(word - words.begin());
}

void read_value(ValueForm form, std::string_view text, float* value) {
  switch (form) {
    case ValueForm::kTenths:
    case ValueForm::kMillionths:
    case ValueForm::kSmoothingNumber:
      return read_number(text, *value);
    case ValueForm::kClip:
      read_number(text, *value);
      *value = clip_from_text(*value);
      return;
    case ValueForm::kYesNo:
      *value = yes_or_no(text);
      return;
    case ValueForm::kListOfEight:
      return read_list(text, value);
    case ValueForm::kSmoothingMode:
      return read_word(text, kSmoothingModes, *value);
    case ValueForm::kSmoothingWord:
      return read_word(text, kSmoothingWords, *value);
  }
}

// The float as an int, cut towards zero; INT_MIN, which stands for nothing, when no int holds it.
int truncated(float value) {
  constexpr float kLimit = 2147483648.0F;
  return value > -kLimit && value < kLimit ? static_cast<int>(value) : INT_MIN;
}

// ---- Reading -----------------------------------------------------------------------------------

constexpr std::size_t kMostNames = [] {
  std::size_t rows = 0;
  for (const Method& method : kMethods) rows = std::max(rows, method.settings.size());
  return (rows + std::size(vocabulary::kCommon)) * std::tuple_size_v<ReadNames>;
}();

constexpr std::size_t longest_name(std::span<const Setting> rows) {
  std::size_t longest = 0;
  for (const Setting& row : rows) {
    for (const ReadName& name : names_read(row)) longest = std::max(longest, name.element.size());
  }
  return longest;
}

constexpr std::size_t kLongestName = [] {
  std::size_t longest = longest_name(vocabulary::kCommon);
  for (const Method& method : kMethods) longest = std::max(longest, longest_name(method.settings));
  return longest;
}();

// Where a packet holds the settings elements that a method reads: found in one pass over it, since
// an element that is absent must not cost a pass of its own.
class ElementIndex {
 public:
  ElementIndex(std::string_view settings, Form form, std::span<const Setting> of_method) {
    add_names(of_method);
    add_names(vocabulary::kCommon);
    Hit hit = find_key(settings, 0, kPrefixKey);
    for (; hit.found; hit = find_key(settings, hit.position + kPrefix.size(), kPrefixKey)) {
      record(from(settings, hit.position + kPrefix.size()), form);
    }
  }

  // The text from the value of the first element with this name on.
  std::optional<std::string_view> value_of(std::string_view name) const {
    const auto used = std::span(entries_).first(count_);
    const auto entry = std::ranges::find(used, name, &Entry::name);
    return entry != used.end() ? entry->value : std::nullopt;
  }

 private:
  struct Entry {
    std::string_view name;
    bool any_end;  // whatever follows the name belongs to the element
    std::optional<std::string_view> value;
  };

  void add_names(std::span<const Setting> rows) {
    for (const Setting& row : rows) {
      for (const ReadName& name : names_read(row)) {
        if (name.element.empty()) continue;
        entries_[count_++] = {name.element, row.form == ValueForm::kSmoothingMode, std::nullopt};
      }
    }
  }

  // `text` begins behind a prefix and ends with the packet's NUL, which no name holds.
  void record(std::string_view text, Form form) {
    const std::string_view up_to_end =
        text.substr(0, text.substr(0, kLongestName + 1).find(end_of_name(form)));
    for (Entry& entry : std::span(entries_).first(count_)) {
      if (entry.value) continue;
      const bool is_named = entry.any_end ? text.starts_with(entry.name) : up_to_end == entry.name;
      if (is_named) entry.value = from(text, entry.name.size() + form);
    }
  }

  std::array<Entry, kMostNames> entries_;
  std::size_t count_ = 0;
};

// Which of the two smoothing rows a packet has is decided by the mode read before: a word that it
// knows made it 0 or 1, exactly.
bool is_read(const Setting& row, const float* values) {
  switch (row.form) {
    case ValueForm::kSmoothingWord:
      return values[CBTM_SCULPTOR_SMOOTHING_MODE] == 0.0F;
    case ValueForm::kSmoothingNumber:
      return values[CBTM_SCULPTOR_SMOOTHING_MODE] == 1.0F;
    default:
      return true;
  }
}

void read_settings(std::span<const Setting> rows, const ElementIndex& elements, float* values) {
  for (const Setting& row : rows) {
    if (!is_read(row, values)) continue;
    for (const ReadName& name : names_read(row)) {
      const auto text = elements.value_of(name.element);
      if (!text) continue;
      float& value = values[row.index];
      read_value(row.form, *text, &value);
      // Also when the text was no number: then the default is what is converted.
      if (name.convert != nullptr) value = name.convert(value);
      break;
    }
  }
}

// Past the name of the first version element whose value is two numbers, as an element or as an
// attribute. Without one nothing that follows is found: the position is then at the packet's end or
// behind it.
std::size_t after_version(std::string_view packet, std::size_t position) {
  const auto is_version = [](std::string_view text) {
    const auto minor = skip_int(text);
    return minor && minor->starts_with('.') && skip_int(minor->substr(1));
  };
  Hit hit = find_key(packet, position, kVersionKey);
  for (; hit.found; hit = find_key(packet, hit.position + 1, kVersionKey)) {
    const std::string_view text = from(packet, hit.position + kVersion.size());
    if (is_version(from(text, kElementForm)) || is_version(from(text, kAttributeForm))) break;
  }
  return hit.position + kVersion.size();
}

struct MethodElement {
  std::size_t position;  // of its name; where the search stopped when there is none
  bool found;
  Form form;
  int number;  // CBTM_NO_METHOD for a label that is not known
};

MethodElement find_method(std::string_view packet, std::size_t position) {
  const Hit hit = find_key(packet, position, kMethodKey);
  if (!hit.found) return {hit.position, false, kElementForm, CBTM_NO_METHOD};
  const std::size_t name_end = hit.position + kMethod.size();
  const Form form = packet[name_end] == '=' ? kAttributeForm : kElementForm;
  const std::string_view text = from(packet, name_end + form);
  const auto row = std::ranges::find_if(
      kLabelsRead, [&](const MethodLabel& l) { return text.starts_with(l.label); });
  return {hit.position, true, form, row != std::end(kLabelsRead) ? row->method : CBTM_NO_METHOD};
}

// The first lens property: the name alone, not one that begins with it.
Hit find_lens(std::string_view packet, std::size_t position) {
  Hit hit = find_key(packet, position, kLensKey);
  for (; hit.found; hit = find_key(packet, hit.position + 1, kLensKey)) {
    const char next = packet[hit.position + kLens.size()];
    if (next == '=' || next == '>') break;
  }
  return hit;
}

// Where the value that starts at `start` ends, or where the search for its end stopped: a name that
// is longer than the buffer counts as none. The NUL at the packet's end keeps `start` from lying
// beyond it.
Hit find_lens_end(std::string_view packet, std::size_t start, bool attribute) {
  const std::string_view end = attribute ? packet.substr(start - 1, 1) : kLensEnd;
  const std::size_t room =
      attribute ? packet.size() : packet.size() - std::min(packet.size(), end.size());
  const std::size_t stop = std::max(start, std::min(start + CBTM_LENS_NAME_MAX + 1, room));
  for (std::size_t at = start; at < stop; ++at) {
    if (packet.substr(at).starts_with(end)) return {at, true};
  }
  return {stop, false};
}

std::size_t copy_lens_name(std::string_view packet, char* lens_info) {
  const Hit declaration = find_key(packet, 0, kLensNamespaceKey);
  if (!declaration.found) return declaration.position;
  const Hit lens = find_lens(packet, declaration.position + kLensNamespace.size());
  if (!lens.found) return lens.position;
  const std::size_t name_end = lens.position + kLens.size();
  const bool attribute = packet[name_end] == '=';
  const std::size_t start = name_end + (attribute ? kAttributeForm : kElementForm);
  const Hit end = find_lens_end(packet, start, attribute);
  if (end.found && lens_info != nullptr)
    std::copy_n(packet.data() + start, end.position - start, lens_info);
  return end.position;
}

// ---- Writing -----------------------------------------------------------------------------------

// Measures a packet or writes it: the same calls, with or without an output.
class PacketWriter {
 public:
  explicit PacketWriter(char* output) : output_(output) {}

  std::size_t length() const { return length_; }

  void text(std::string_view piece) {
    if (output_ != nullptr) std::memcpy(output_ + length_, piece.data(), piece.size());
    length_ += piece.size();
  }

  template <typename... Pieces>
  void line(Pieces... pieces) {
    (text(pieces), ...);
    text("\n");
  }

  // A settings element without and with what ends its line.
  void open(std::string_view name) {
    text("<cbtm:");
    text(name);
    text(">");
  }
  void close(std::string_view name) { line("</cbtm:", name, ">"); }

  void number(float value, int decimals) {
    std::array<char, kNumberTextMax> buffer;
    text(print_fixed(value, decimals, buffer));
  }

  // Two digits at least.
  void sequence_number(int number) {
    std::array<char, 12> buffer;
    const auto* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
    if (number < 10) text("0");
    text({buffer.data(), end});
  }

 private:
  char* output_;
  std::size_t length_ = 0;
};

void write_list(PacketWriter& packet, const float* values) {
  for (int i = 0; i < CBTM_COLORS_IN_LIST; ++i) {
    if (i > 0) packet.text(",");
    packet.number(values[i], 1);
  }
}

void write_smoothing_word(PacketWriter& packet, float value) {
  const int number = truncated(value);
  const bool known = number >= 0 && number < static_cast<int>(std::size(kSmoothingWords));
  const std::string_view word = known ? kSmoothingWords[number] : kUnknownSmoothingWord;
  packet.text(word);
  if (known && word.size() < kSmoothingPadding.size()) {
    packet.text(kSmoothingPadding.substr(word.size()));
  }
}

bool is_slider(const float* values) {
  return truncated(values[CBTM_SCULPTOR_SMOOTHING_MODE]) == 1;
}

void write_value(PacketWriter& packet, const Setting& row, const float* values) {
  const float value = values[row.index];
  switch (row.form) {
    case ValueForm::kTenths:
    case ValueForm::kSmoothingNumber:
      return packet.number(value, 1);
    case ValueForm::kMillionths:
      return packet.number(value, 6);
    case ValueForm::kClip:
      return packet.number(clip_to_text(value), 3);
    case ValueForm::kYesNo:
      return packet.text(value > 0.0F ? kYes : kNo);
    case ValueForm::kListOfEight:
      return write_list(packet, values + row.index);
    case ValueForm::kSmoothingMode:
      return packet.text(kSmoothingModes[is_slider(values) ? 1 : 0]);
    case ValueForm::kSmoothingWord:
      return write_smoothing_word(packet, value);
  }
}

// A host's mode counts by its whole part; one that is neither 0 nor 1 goes with the word.
bool is_written(const Setting& row, const float* values) {
  switch (row.form) {
    case ValueForm::kSmoothingWord:
      return !is_slider(values);
    case ValueForm::kSmoothingNumber:
      return is_slider(values);
    default:
      return true;
  }
}

void write_rows(PacketWriter& packet, std::span<const Setting> rows, const float* values) {
  for (const Setting& row : rows) {
    if (!is_written(row, values)) continue;
    packet.open(row.element);
    write_value(packet, row, values);
    packet.close(row.element);
  }
}

void write_settings(PacketWriter& packet, int sequence_number, const Method& method,
                    const float* values) {
  packet.line("<rdf:Description rdf:about=''");
  packet.text(kSettingsNamespace);
  packet.text("celumbrant_settings");
  packet.sequence_number(sequence_number);
  packet.line("'>");
  packet.open("Version");
  packet.text("6.0");
  packet.close("Version");
  if (!method.label.empty()) {
    packet.open("Method");
    packet.text(method.label);
    packet.close("Method");
  }
  write_rows(packet, method.settings, values);
  write_rows(packet, vocabulary::kCommon, values);
  packet.line("</rdf:Description>\n");
}

void write_lens(PacketWriter& packet, std::string_view name) {
  packet.line("<rdf:Description rdf:about=''");
  packet.line(kLensNamespace, "'>");
  packet.line("<aux:Lens>", name, "</aux:Lens>");
  packet.line("</rdf:Description>\n");
}

// ---- Insertion ---------------------------------------------------------------------------------

// Just past the start tag of the RDF element, or where the search for it stopped.
Hit end_of_rdf_start(std::string_view packet) {
  const Hit frame = find_key(packet, 0, kFrameKey);
  const std::size_t frame_end = frame.position + kFrameStart.size();
  if (!frame.found) return {frame_end, false};
  const Hit rdf = find_key(packet, frame_end, kRdfKey);
  return {rdf.position + kRdfStart.size(), rdf.found};
}

// Up to two line feeds that follow the byte at the insertion point stay before what is inserted.
std::size_t past_line_feeds(std::string_view packet, std::size_t position) {
  if (packet.size() - position <= 2) return position;
  if (packet[position + 1] == '\n') ++position;
  if (packet[position + 1] == '\n') ++position;
  return position;
}

// The packet with its NUL, or nothing when the NUL is not where it must be.
std::optional<std::string_view> terminated_packet(int length, const char* data) {
  if (length < 1 || data[length - 1] != '\0') return std::nullopt;
  return std::string_view(data, static_cast<std::size_t>(length));
}

constexpr int kNotTerminated = -3;

}  // namespace
}  // namespace celumbrant

using namespace celumbrant;  // NOLINT: the exported functions below have C names

int def_param(int tmMethod, float* tmParam) noexcept {
  std::fill_n(tmParam, CBTM_SETTINGS_COUNT, 0.0F);
  const Method method = method_of(tmMethod);
  for (const Setting& row : method.settings) tmParam[row.index] = row.default_value;
  for (const auto& [index, value] : method.unwritten) tmParam[index] = value;
  return 0;
}

int searchForTag(int iParam, const char* strInputTag, int tagType, const char* xmpData,
                 int lenAfterTag, int lenMax, int* foundParam, float* valParam) noexcept {
  const bool is_list = tagType == CBTM_TAG_LIST_OF_EIGHT;
  const bool is_known = is_list || tagType == CBTM_TAG_NUMBER || tagType == CBTM_TAG_YES_NO;
  const std::string_view name(strInputTag);
  const std::size_t length = name.size() + 1;
  if (!is_position(iParam, is_list) || name.empty() || lenMax < 1) return 0;
  if (lenAfterTag != kElementForm && lenAfterTag != kAttributeForm) return 0;
  if (foundParam[iParam] != 0) return 0;

  const Form form = lenAfterTag == kElementForm ? kElementForm : kAttributeForm;
  const std::string_view text(xmpData, static_cast<std::size_t>(lenMax));
  const Scratch key = zeroed_scratch(length);
  if (!key) return 0;
  *std::ranges::copy(name, key.get()).out = end_of_name(form);
  const Hit hit = find_key(text, 0, {{key.get(), length}, 0});
  // Elements of a kind that is not known are passed over, to where the search stops.
  if (!is_known) return static_cast<int>(text.size() - std::min(text.size(), length));
  if (hit.found) {
    foundParam[iParam] = 1;
    read_tag(tagType, from(text, hit.position + name.size() + form), valParam + iParam);
  }
  return static_cast<int>(hit.position);
}

int get_settings_from_xmp(int settingsType, int lenXmp, const char* xmpData, char* lens_info,
                          float* valParam) noexcept {
  constexpr int kOtherMethod = -5;
  const auto packet = terminated_packet(lenXmp, xmpData);
  if (!packet) return kNotTerminated;
  if (settingsType == CBTM_QUERY_LENS) return static_cast<int>(copy_lens_name(*packet, lens_info));

  const Hit declaration = find_key(*packet, 0, kSettingsNamespaceKey);
  if (!declaration.found) return 0;
  const std::size_t declared = declaration.position + kSettingsNamespace.size();
  const MethodElement method = find_method(*packet, after_version(*packet, declared));
  if (settingsType == CBTM_QUERY_METHOD && method.found) return method.number;
  if (settingsType != method.number) return kOtherMethod;

  const std::span<const Setting> of_method = method_of(method.number).settings;
  const ElementIndex elements(from(*packet, method.position), method.form, of_method);
  def_param(method.number, valParam);
  read_settings(of_method, elements, valParam);
  read_settings(vocabulary::kCommon, elements, valParam);
  return static_cast<int>(method.position);
}

int read_xmp(const char* filename, int settingsType, float* valParam) noexcept {
  constexpr int kCannotOpen = -1;
  constexpr int kShortRead = -2;
  constexpr int kNoMemory = -4;
  File file(filename, "rb");
  if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) return kCannotOpen;
  const long size = std::ftell(file.get());
  if (size < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) return kCannotOpen;
  if (size >= INT_MAX) return kNoMemory;
  const auto length = static_cast<std::size_t>(size);
  const Scratch packet = zeroed_scratch(length + 1);
  if (!packet) return kNoMemory;
  if (std::fread(packet.get(), 1, length, file.get()) != length) return kShortRead;
  file.close();
  return get_settings_from_xmp(settingsType, static_cast<int>(length) + 1, packet.get(), nullptr,
                               valParam);
}

int embed_xmp(int embedType, int curMethod, const float* valParam, int lensInfoLen,
              const char* lens_info, char* xmpData) noexcept {
  const int cbSettingsSeqNb = std::max(embedType, 1);
  const bool writeXmpHeaderAndTrailer = curMethod <= CBTM_WITHOUT_FRAME;
  const int number = writeXmpHeaderAndTrailer ? curMethod : curMethod - CBTM_WITHOUT_FRAME;
  PacketWriter packet(embedType == CBTM_MEASURE ? nullptr : xmpData);
  if (writeXmpHeaderAndTrailer) {
    packet.line(kFrameStart, "'>");
    packet.line(kRdfStart, "\n");
  }
  if (lensInfoLen > 0) write_lens(packet, lens_info);
  if (number > 0) write_settings(packet, cbSettingsSeqNb, method_of(number), valParam);
  if (writeXmpHeaderAndTrailer) packet.line("</rdf:RDF>\n</x:xmpmeta>");
  return static_cast<int>(packet.length());
}

int write_xmp(const char* filename, int settingsType, const float* valParam) noexcept {
  constexpr int kWritten = 1;
  constexpr int kCannotCreate = -1;
  constexpr int kNoSuchMethod = -2;
  constexpr int kNotWritten = -3;
  constexpr int kNoMemory = -4;
  constexpr int kLastMethod = CBTM_BLEND_ROOMSCAPE;
  if (settingsType < 1 || settingsType > kLastMethod) return kNoSuchMethod;
  File file(filename, "wb");
  if (!file) return kCannotCreate;
  const int length = embed_xmp(CBTM_MEASURE, settingsType, valParam, 0, nullptr, nullptr);
  const auto bytes = static_cast<std::size_t>(length);
  const Scratch packet = zeroed_scratch(bytes + 1);
  if (!packet) return kNoMemory;
  embed_xmp(1, settingsType, valParam, 0, nullptr, packet.get());
  if (std::fwrite(packet.get(), bytes, 1, file.get()) != 1) return kNotWritten;
  return file.close() ? kWritten : kNotWritten;
}

int insert_xmp(int embedType, int curMethod, const float* valParam, int existingXmpLen,
               int insertedLen, char* inOutXmpData) noexcept {
  constexpr int kNothingBehind = -1;
  constexpr int kNoMemory = -4;
  const int description = curMethod + CBTM_WITHOUT_FRAME;
  if (embedType == CBTM_MEASURE) {
    return embed_xmp(CBTM_MEASURE, description, valParam, 0, nullptr, nullptr);
  }
  const std::string_view packet(inOutXmpData,
                                static_cast<std::size_t>(std::max(existingXmpLen, 0)));
  const Hit rdf_start = end_of_rdf_start(packet);
  if (!rdf_start.found) return -static_cast<int>(rdf_start.position);
  const std::size_t insertion = past_line_feeds(packet, rdf_start.position);
  const std::size_t behind = packet.size() - insertion;
  if (behind <= 2) return kNothingBehind;

  const Scratch rest = zeroed_scratch(behind);
  if (!rest) return kNoMemory;
  char* const gap = inOutXmpData + insertion;
  std::memcpy(rest.get(), gap, behind);
  const int written = embed_xmp(embedType, description, valParam, 0, nullptr, gap);
  std::memcpy(gap + insertedLen, rest.get(), behind);
  return written;
}

int cbsettings_occurences_in_xmp(int lenXmp, const char* xmpData) noexcept {
  const auto packet = terminated_packet(lenXmp, xmpData);
  if (!packet) return kNotTerminated;
  int count = 0;
  Hit hit = find_key(*packet, 0, kSettingsNamespaceKey);
  for (; hit.found; ++count) {
    hit = find_key(*packet, hit.position + kSettingsNamespace.size(), kSettingsNamespaceKey);
  }
  return count;
}
