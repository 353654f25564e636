// SPDX-License-Identifier: MIT
//
// The record of camera metadata, and numbers from a stream in either byte order.

#include <CelumbrantMetaLib.h>

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "byte_order.h"

namespace celumbrant {
namespace {

unsigned short read16(std::FILE* f, ByteOrder order) {
  const int a = std::fgetc(f);
  const int b = std::fgetc(f);
  return assemble16(order, a, b);
}

int read32(std::FILE* f, ByteOrder order) {
  const int a = std::fgetc(f);
  const int b = std::fgetc(f);
  const int c = std::fgetc(f);
  const int d = std::fgetc(f);
  return assemble32(order, a, b, c, d);
}

// A missing byte is what fgetc returns for it.
static_assert(EOF == kNoByte);

}  // namespace
}  // namespace celumbrant

using namespace celumbrant;  // NOLINT: the exported functions below have C names

void init_exifInfo(ExifInfo2* exifInfo) noexcept {
  // The last byte of the model belongs to no reader and stays as the caller has it.
  constexpr std::size_t kModelEnd = offsetof(ExifInfo2, model) + sizeof(ExifInfo2::model) - 1;
  constexpr std::size_t kNextField = offsetof(ExifInfo2, date_time);
  char* const bytes = reinterpret_cast<char*>(exifInfo);
  std::memset(bytes, 0, kModelEnd);
  std::memset(bytes + kNextField, 0, sizeof(ExifInfo2) - kNextField);
}

unsigned short fgetmi2(FILE* f, short order) noexcept {
  return read16(f, byte_order_of(order));
}

int fgetmi4(FILE* f, short order) noexcept {
  return read32(f, byte_order_of(order));
}

unsigned short fgetm2(FILE* f) noexcept {
  return read16(f, ByteOrder::kBigEndian);
}

int fgetm4(FILE* f) noexcept {
  return read32(f, ByteOrder::kBigEndian);
}
