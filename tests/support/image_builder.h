// SPDX-License-Identifier: MIT
//
// The bytes of small TIFF, JPEG and PSD files, built without any code of the library.

#ifndef CELUMBRANT_TESTS_IMAGE_BUILDER_H_
#define CELUMBRANT_TESTS_IMAGE_BUILDER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace images {

using Bytes = std::string;
using Values = std::vector<int>;

enum class Order : short { kLittle = 0x4949, kBig = 0x4D4D };  // the marks of a TIFF structure, "II" and "MM"

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
  Directory& field(int tag, int type, int count, int value) { return add({tag, type, count, {value}, 4, {}}); }
  Directory& bytes(int tag, int type, std::int64_t count, const Bytes& data) {
    return add({tag, type, count, Values(data.begin(), data.end()), 1, {}});
  }
  Directory& text(int tag, const Bytes& text) { return bytes(tag, 2, std::ssize(text), text); }
  Directory& shorts(int tag, const Values& values) { return add({tag, 3, std::ssize(values), values, 2, {}}); }
  Directory& rationals(int tag, const Values& pairs) { return add({tag, 5, std::ssize(pairs) / 2, pairs, 4, {}}); }
  Directory& directory(int tag, const Directory& named) { return add({tag, 4, 1, {}, 4, {named}}); }

  // Appends the directory to a structure that is laid out from its header on. Returns where it ends:
  // at the offset of the next one, 0.
  std::size_t append_to(Bytes& out, Order order) const {
    out += number(order, std::ssize(entries_), 2);
    std::size_t at = out.size();
    out.append(12 * entries_.size() + 4, '\0');
    for (const Entry& entry : entries_) {
      Bytes value;
      for (const int one : entry.values) value += number(order, one, entry.width);
      if (value.size() > 4 || !entry.named.empty()) {
        const Bytes offset = number(order, std::ssize(out), 4);
        out += value;
        for (const Directory& named : entry.named) named.append_to(out, order);
        value = offset;
      }
      value.resize(4);
      const Bytes head = number(order, entry.tag, 2) + number(order, entry.type, 2) + number(order, entry.count, 4);
      out.replace(at, 12, head + value);
      at += 12;
    }
    return at;
  }

 private:
  struct Entry {
    int tag;
    int type;
    std::int64_t count;
    Values values;
    int width;                     // of each value, in bytes
    std::vector<Directory> named;  // in place of values: none or one
  };

  Directory& add(const Entry& entry) {
    entries_.push_back(entry);
    return *this;
  }

  std::vector<Entry> entries_;
};

// A TIFF structure of a chain of directories, the first one `gap` bytes behind the header.
inline Bytes tiff(Order order, const std::vector<Directory>& chain, std::size_t gap = 0) {
  Bytes out = (order == Order::kLittle ? "II" : "MM") + number(order, 42, 2) + Bytes(4 + gap, '\0');
  std::size_t link = 4;
  for (const Directory& directory : chain) {
    out.replace(link, 4, number(order, std::ssize(out), 4));
    link = directory.append_to(out, order);
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

inline Bytes resource(std::size_t id, const Bytes& data, const Bytes& name = Bytes(2, '\0')) {
  return "8BIM" + be(id, 2) + name + be(data.size(), 4) + data + Bytes(data.size() % 2, '\0');
}

inline Bytes psd(const Bytes& resources, std::size_t channels = 3, std::size_t color_mode = 3) {
  return "8BPS" + be(1, 2) + Bytes(6, '\0') + be(channels, 2) + be(8, 4) + be(12, 4) + be(8, 2) + be(color_mode, 2) +
         be(5, 4) + "color" + be(resources.size(), 4) + resources + be(0, 4);
}

}  // namespace images

#endif  // CELUMBRANT_TESTS_IMAGE_BUILDER_H_
