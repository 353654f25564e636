// SPDX-License-Identifier: MIT
//
// EXIF and GPS directories at any position of a stream, in both orders, with offsets that count from
// anywhere; and the byte-order readers at that position.

#include "support.h"

namespace {

using namespace fuzz;

constexpr std::array<short, 3> kOrders = {CELUMBRANT_LITTLE_ENDIAN, CELUMBRANT_BIG_ENDIAN, 0};

// The number that bytes of a stream make, each that it lacks counting as -1 in its place.
std::uint32_t number_at(std::string_view bytes, std::size_t position, std::size_t width,
                        short order) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < width; ++i) {
    const std::size_t place = order == CELUMBRANT_LITTLE_ENDIAN ? i : width - 1 - i;
    const bool held = position + i < bytes.size();
    const int byte = held ? static_cast<std::uint8_t>(bytes[position + i]) : -1;
    number += static_cast<std::uint32_t>(byte) << 8 * place;
  }
  return number;
}

// Of 16 bits each byte that is missing is 0xFF, without a borrow from the other.
int entries_at(std::string_view bytes, std::size_t position, short order) {
  std::array<char, 2> two = {'\xFF', '\xFF'};
  for (std::size_t i = 0; i < 2 && position + i < bytes.size(); ++i) two[i] = bytes[position + i];
  if (order != CELUMBRANT_LITTLE_ENDIAN) std::swap(two[0], two[1]);
  return le16({two.data(), two.size()}, 0);
}

void read_numbers(Bytes& bytes, std::size_t position, short order) {
  const auto at = [&] { return stream_at(bytes, position); };
  const auto number32 = static_cast<int>(number_at(view(bytes), position, 4, order));
  const int number16 = entries_at(view(bytes), position, order);
  EXPECT(fgetmi2(at().get(), order) == number16);
  EXPECT(fgetmi4(at().get(), order) == number32);
  if (order == CELUMBRANT_LITTLE_ENDIAN) return;
  EXPECT(fgetm2(at().get()) == number16);
  EXPECT(fgetm4(at().get()) == number32);
}

template <typename Parse>
void read_directory(Bytes& bytes, std::size_t position, short order, int start, Parse parse) {
  constexpr std::size_t kEntryBytes = 12;
  const auto record = cleared_record();
  const Stream stream = stream_at(bytes, position);
  EXPECT(parse(stream.get(), 1, order, start, record.get()) == 1);
  expect_texts(*record);
  // What stands behind the texts of the record belongs to no such directory.
  EXPECT(record->thumb_width == 0 && record->embeddedXmp_len == 0 && record->lens[0] == 0);
  const auto entries = static_cast<std::size_t>(entries_at(view(bytes), position, order));
  const std::size_t end = std::min(position + 2 + kEntryBytes * entries, bytes.size());
  EXPECT(std::ftell(stream.get()) == static_cast<long>(end));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const auto wanted = input.take<std::uint16_t>();
  const auto start = input.take<std::int32_t>();
  if (input.rest().empty()) return 0;
  Bytes bytes = bytes_of(input.rest());
  const std::size_t position = std::min<std::size_t>(wanted, bytes.size());
  for (const short order : kOrders) {
    read_numbers(bytes, position, order);
    for (const int header : {0, start}) {
      read_directory(bytes, position, order, header, parse_exif_data);
      read_directory(bytes, position, order, header, parse_gps_data);
    }
  }
  return 0;
}
