// SPDX-License-Identifier: MIT
//
// Traces for whoever works on the library: set a switch to 1, build, and the unit tells on standard
// error what it does. As delivered they are zero, and the compiler checks the traces and leaves
// them out.

#ifndef CELUMBRANT_DIAGNOSTICS_H_
#define CELUMBRANT_DIAGNOSTICS_H_

#include <concepts>
#include <cstdio>
#include <string_view>

namespace celumbrant {

inline constexpr int _debug = 0;         // containers and their directories
inline constexpr int _debug2 = 0;        // the EXIF directory
inline constexpr int _debug3 = 0;        // the GPS directory
inline constexpr int _debug4 = 0;        // Photoshop resources and IPTC
inline constexpr int _debug5 = 0;        // image descriptions and profile names
inline constexpr int _debugXmp = 0;      // XMP packets
inline constexpr int _debugSaveTif = 0;  // the TIFF writer
inline constexpr int _debugLens = 0;     // lens names
inline constexpr int _debug360 = 0;      // settings of panoramas
inline constexpr int _debugV5 = 0;       // settings written by version 5
inline constexpr int _debugV6 = 0;       // settings written by version 6

namespace diagnostics {

inline void print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
}
inline void print(std::integral auto number) {
  std::fprintf(stderr, " %lld", static_cast<long long>(number));
}
inline void print(double number) {
  std::fprintf(stderr, " %g", number);
}

}  // namespace diagnostics

// One line of texts and numbers: trace<_debug>("directory", cntIfd, " entries", entries).
template <int kSwitch, typename... Pieces>
void trace(const Pieces&... pieces) {
  if (kSwitch != 0) {
    (diagnostics::print(pieces), ...);
    diagnostics::print("\n");
  }
}

}  // namespace celumbrant

#endif  // CELUMBRANT_DIAGNOSTICS_H_
