#include <string>

#include "text/utf8_codec.h"
#include "vornleads/text/codepage.h"

namespace vornleads {
namespace {

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Latin-1 lower-case letters à..þ sit 0x20 above their capitals; ÷ sits among them but is
// no letter, and ÿ's capital lies outside Latin-1, so both stay as they are.
char32_t upperCodePoint(char32_t c) {
  if (c >= 'a' && c <= 'z') return c - 0x20;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 0x20;
  return c;
}

}  // namespace

std::u16string utf8ToUtf16(const std::string& utf8Text) {
  std::u16string out;
  out.reserve(utf8Text.size());
  for (std::size_t pos = 0; pos < utf8Text.size();) {
    const char32_t c = utf8::next(utf8Text, pos);
    if (c >= 0x10000) {
      out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      out += static_cast<char16_t>(c);
    }
  }
  return out;
}

std::string utf16ToUtf8(const std::u16string& utf16) {
  std::string out;
  out.reserve(utf16.size());
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    const char16_t unit = utf16[i];
    if (isHighSurrogate(unit) && i + 1 < utf16.size() && isLowSurrogate(utf16[i + 1])) {
      const char32_t c = 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) +
                         (static_cast<char32_t>(utf16[i + 1]) - 0xDC00);
      utf8::append(out, c);
      ++i;
    } else {
      // A lone surrogate has no UTF-8 form; append() writes U+FFFD for it.
      utf8::append(out, unit);
    }
  }
  return out;
}

std::string toAscii(const std::string& utf8Text) {
  std::string out;
  out.reserve(utf8Text.size());
  for (std::size_t pos = 0; pos < utf8Text.size();) {
    const char32_t c = utf8::next(utf8Text, pos);
    out += c < 0x80 ? static_cast<char>(c) : '?';
  }
  return out;
}

std::string upperCase(const std::string& utf8Text) {
  std::string out;
  out.reserve(utf8Text.size());
  for (std::size_t pos = 0; pos < utf8Text.size();) {
    const std::size_t start = pos;
    const char32_t c = utf8::next(utf8Text, pos);
    const char32_t upper = upperCodePoint(c);
    if (upper == c) {
      // Unchanged characters keep their bytes, malformed ones included.
      out.append(utf8Text, start, pos - start);
    } else {
      utf8::append(out, upper);
    }
  }
  return out;
}

}  // namespace vornleads
