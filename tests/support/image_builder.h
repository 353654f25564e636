// SPDX-License-Identifier: MIT
//
// The bytes of small TIFF, JPEG and PSD files, built without any code of the library.

#ifndef CELUMBRANT_TESTS_IMAGE_BUILDER_H_
#define CELUMBRANT_TESTS_IMAGE_BUILDER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace images {

using Bytes = std::string;

enum class Order { kLittle, kBig };

inline Bytes number(Order order, std::int64_t value, int width) {
  Bytes bytes;
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i));
  if (order == Order::kBig) std::ranges::reverse(bytes);
  return bytes;
}

inline Bytes be(std::size_t value, int width) {
  return number(Order::kBig, static_cast<std::int64_t>(value), width);
}

// A directory's entries in the order in which they are added. Values of more than 4 bytes, and
// directories that an entry names, are laid out behind it.
class Directory {
 public:
  // An entry whose value field holds a 32-bit number, whatever the type says.
  Directory& field(int tag, int type, std::int64_t count, std::int64_t value) {
    return add({tag, type, count, {{value, 4}}, {}});
  }
  Directory& bytes(int tag, int type, std::int64_t count, const Bytes& data) {
    Entry entry{tag, type, count, {}, {}};
    for (const char byte : data) entry.values.emplace_back(byte, 1);
    return add(entry);
  }
  Directory& text(int tag, const Bytes& text) { return bytes(tag, 2, static_cast<std::int64_t>(text.size()), text); }
  Directory& shorts(int tag, const std::vector<int>& values) { return numbers(tag, 3, values.size(), values, 2); }
  Directory& rationals(int tag, const std::vector<int>& pairs) { return numbers(tag, 5, pairs.size() / 2, pairs, 4); }
  Directory& directory(int tag, const Directory& named) { return add({tag, 4, 1, {}, {named}}); }

  std::size_t entries() const { return entries_.size(); }

  // Appends the directory to a structure that is laid out from its header on. Returns its offset.
  std::size_t append_to(Bytes& out, Order order) const {
    const std::size_t start = out.size();
    out += number(order, static_cast<std::int64_t>(entries_.size()), 2);
    out.append(12 * entries_.size() + 4, '\0');
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      const Entry& entry = entries_[i];
      const Bytes head = number(order, entry.tag, 2) + number(order, entry.type, 2);
      out.replace(start + 2 + 12 * i, 8, head + number(order, entry.count, 4));
      const Bytes value = value_field(entry, out, order);
      out.replace(start + 10 + 12 * i, 4, value);
    }
    return start;
  }

 private:
  struct Entry {
    int tag;
    int type;
    std::int64_t count;
    std::vector<std::pair<std::int64_t, int>> values;  // with their widths
    std::vector<Directory> named;
  };

  Directory& numbers(int tag, int type, std::size_t count, const std::vector<int>& values, int width) {
    Entry entry{tag, type, static_cast<std::int64_t>(count), {}, {}};
    for (const int value : values) entry.values.emplace_back(value, width);
    return add(entry);
  }

  Directory& add(const Entry& entry) {
    entries_.push_back(entry);
    return *this;
  }

  static Bytes value_field(const Entry& entry, Bytes& out, Order order) {
    std::size_t offset = out.size();
    Bytes data;
    for (const auto& [value, width] : entry.values) data += number(order, value, width);
    if (!entry.named.empty()) {
      offset = entry.named[0].append_to(out, order);
    } else if (data.size() <= 4) {
      return data + Bytes(4 - data.size(), '\0');
    }
    out += data;
    return number(order, static_cast<std::int64_t>(offset), 4);
  }

  std::vector<Entry> entries_;
};

// A TIFF structure of a chain of directories, the first one `gap` bytes behind the header.
inline Bytes tiff(Order order, const std::vector<Directory>& chain, std::size_t gap = 0) {
  Bytes out = (order == Order::kLittle ? "II" : "MM") + number(order, 42, 2) + Bytes(4 + gap, '\0');
  std::size_t link = 4;
  for (const Directory& directory : chain) {
    const auto start = out.size();
    directory.append_to(out, order);
    out.replace(link, 4, number(order, static_cast<std::int64_t>(start), 4));
    link = start + 2 + 12 * directory.entries();
  }
  return out;
}

inline Bytes segment(char marker, const Bytes& payload) {
  return Bytes("\xFF") + marker + be(payload.size() + 2, 2) + payload;
}
inline Bytes exif(const Bytes& tiff) {
  return segment('\xE1', Bytes("Exif\0\0", 6) + tiff);
}
inline Bytes xmp(const Bytes& packet) {
  return segment('\xE1', Bytes("http://ns.adobe.com/xap/1.0/\0", 29) + packet);
}
inline Bytes photoshop(const Bytes& resources) {
  return segment('\xED', Bytes("Photoshop 3.0\0", 14) + resources);
}

// Segments between the start of an image and its scan, with some bytes of the latter.
inline Bytes jpeg(const Bytes& segments) {
  return "\xFF\xD8" + segments + "\xFF\xDA" + Bytes(40, '\x55');
}

inline Bytes resource(std::size_t id, const Bytes& data, const Bytes& name = Bytes(2, '\0')) {
  return "8BIM" + be(id, 2) + name + be(data.size(), 4) + data + Bytes(data.size() % 2, '\0');
}

inline Bytes psd(const Bytes& resources, std::size_t channels = 3, std::size_t color_mode = 3) {
  return "8BPS" + be(1, 2) + Bytes(6, '\0') + be(channels, 2) + be(8, 4) + be(12, 4) + be(8, 2) + be(color_mode, 2) +
         be(5, 4) + "color" + be(resources.size(), 4) + resources + be(0, 4);
}

}  // namespace images

#endif  // CELUMBRANT_TESTS_IMAGE_BUILDER_H_
