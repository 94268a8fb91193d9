#include "text/cp1252.h"

#include <array>
#include <cstddef>

namespace vornleads::cp1252 {
namespace {

// Bytes 0x80..0x9F; the rest of the code page is Latin-1.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 0x80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 0x88
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 0x90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 0x98
};

}  // namespace

char32_t toUnicode(unsigned char byte) {
  if (byte >= 0x80 && byte < 0xA0) return kHigh[byte - 0x80];
  return byte;
}

bool isDefined(unsigned char byte) {
  return byte != 0x81 && byte != 0x8D && byte != 0x8F && byte != 0x90 && byte != 0x9D;
}

char fromUnicode(char32_t codePoint) {
  if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) {
    return static_cast<char>(codePoint);
  }
  for (std::size_t i = 0; i < kHigh.size(); ++i) {
    if (kHigh[i] == codePoint) return static_cast<char>(0x80 + i);
  }
  return '?';
}

}  // namespace vornleads::cp1252
