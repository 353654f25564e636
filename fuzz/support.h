// SPDX-License-Identifier: MIT
//
// What the fuzz targets share. Buffers that the library gets are vectors made with their final
// size, so that the address sanitizer sees the first byte beyond them.

#ifndef CELUMBRANT_FUZZ_SUPPORT_H_
#define CELUMBRANT_FUZZ_SUPPORT_H_

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

// A property that holds for every input.
#define EXPECT(property)                                                            \
  do {                                                                              \
    if (!(property)) {                                                              \
      std::fprintf(stderr, "%s:%d: violated: %s\n", __FILE__, __LINE__, #property); \
      std::abort();                                                                 \
    }                                                                               \
  } while (false)

namespace fuzz {

using Bytes = std::vector<unsigned char>;
using Text = std::vector<char>;

inline std::string_view view(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
inline std::string_view view(const Text& text) {
  return {text.data(), text.size()};
}

// A copy of its own size.
inline Bytes bytes_of(std::string_view text) {
  return {text.begin(), text.end()};
}

// With the NUL that packets and names end with.
inline Text terminated(std::string_view text) {
  Text copy(text.size() + 1);
  std::ranges::copy(text, copy.begin());
  return copy;
}

inline int size_of(std::string_view text) {
  return static_cast<int>(text.size());
}

inline std::uint32_t le32(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<std::uint8_t>(bytes[at + i]);
  return number;
}

inline std::uint32_t be32(std::string_view bytes, std::size_t at) {
  return __builtin_bswap32(le32(bytes, at));
}

inline int le16(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint8_t>(bytes[at]) | static_cast<std::uint8_t>(bytes[at + 1]) << 8;
}

// An input that is taken apart from its beginning on; behind its end are zeros.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  template <typename T>
  T take() {
    static_assert(std::is_trivially_copyable_v<T>);
    T value{};
    const std::string_view bytes = take_bytes(sizeof value);
    if (!bytes.empty()) std::memcpy(&value, bytes.data(), bytes.size());
    return value;
  }

  // A number from `lowest` to `highest`, from one byte.
  int take_within(int lowest, int highest) {
    return lowest + take<std::uint8_t>() % (highest - lowest + 1);
  }

  std::string_view take_bytes(std::size_t count) {
    const std::string_view bytes = rest_.substr(0, count);
    rest_.remove_prefix(bytes.size());
    return bytes;
  }

  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

// A file in memory, under a name that opens it again; nothing of it is left behind.
class MemoryFile {
 public:
  MemoryFile() : handle_(memfd_create("fuzz", 0)) {
    if (handle_ < 0) std::abort();
    std::snprintf(name_.data(), name_.size(), "/proc/self/fd/%d", handle_);
  }
  ~MemoryFile() { ::close(handle_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const char* name() const { return name_.data(); }

  void hold(std::string_view bytes) {
    const auto size = static_cast<ssize_t>(bytes.size());
    if (ftruncate(handle_, 0) != 0) std::abort();
    if (pwrite(handle_, bytes.data(), bytes.size(), 0) != size) std::abort();
  }

  Text content() const {
    struct stat status;
    if (fstat(handle_, &status) != 0) std::abort();
    Text bytes(static_cast<std::size_t>(status.st_size));
    if (pread(handle_, bytes.data(), bytes.size(), 0) != status.st_size) std::abort();
    return bytes;
  }

 private:
  int handle_;
  std::array<char, 32> name_{};
};

struct CloseStream {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// The bytes as a stream that stands at a position in them, or at their end.
inline Stream stream_at(Bytes& bytes, std::size_t position) {
  Stream stream(fmemopen(bytes.data(), bytes.size(), "rb"));
  if (stream == nullptr) std::abort();
  if (std::fseek(stream.get(), static_cast<long>(std::min(position, bytes.size())), SEEK_SET) != 0)
    std::abort();
  return stream;
}

// What get_tif_tag tells of a tag; a position of 0 or less tells why there is none.
struct Found {
  int position = 0;
  int count = 0;
  int value = 0;
};

inline Found find_tag(Text& bytes, int tag) {
  Found found;
  const Stream stream(fmemopen(bytes.data(), bytes.size(), "rb"));
  found.position = get_tif_tag(stream.get(), tag, &found.count, &found.value);
  EXPECT(found.position != 0 && found.position >= -3);
  EXPECT(found.position > 0 || (found.count == 0 && found.value == 0));
  return found;
}

// A record on the heap, cleared.
inline std::unique_ptr<ExifInfo2> cleared_record() {
  auto record = std::make_unique<ExifInfo2>();
  record->model[sizeof record->model - 1] = '#';
  init_exifInfo(record.get());
  return record;
}

// Every text of a record ends inside its field, and the byte that nobody may touch is as it was.
inline void expect_texts(const ExifInfo2& record) {
  const auto ends = [](const void* text, std::size_t size) {
    return std::memchr(text, '\0', size) != nullptr;
  };
  EXPECT(ends(record.model, sizeof record.model - 1));
  EXPECT(record.model[sizeof record.model - 1] == '#');
  EXPECT(ends(record.date_time, sizeof record.date_time));
  EXPECT(ends(record.gps_datestamp, sizeof record.gps_datestamp));
  EXPECT(ends(record.lens, CELUMBRANT_LENS_BYTES));
}

inline constexpr std::array kMethods = {1, 2, 3, 4, 10, 11, 13, 14, 15};

}  // namespace fuzz

#endif  // CELUMBRANT_FUZZ_SUPPORT_H_
