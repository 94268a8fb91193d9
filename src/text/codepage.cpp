#include "vornleads/text/codepage.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <string_view>

#include "text/utf8_codec.h"

namespace vornleads {
namespace {

// Windows-1252 bytes 0x80..0x9F. The five bytes the code page leaves undefined map to the C1
// control of the same value, so that any byte sequence survives a round trip through UTF-8.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 0x80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 0x88
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 0x90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 0x98
};

char32_t cp1252ToUnicode(unsigned char byte) {
  if (byte >= 0x80 && byte < 0xA0) return kCp1252High[byte - 0x80];
  return byte;
}

// The byte for a code point, or '?' when Windows-1252 has no such character.
char unicodeToCp1252(char32_t codePoint) {
  if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) {
    return static_cast<char>(codePoint);
  }
  for (std::size_t i = 0; i < kCp1252High.size(); ++i) {
    if (kCp1252High[i] == codePoint) return static_cast<char>(0x80 + i);
  }
  return '?';
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
    if (upper(a[i]) != upper(b[i])) return false;
  }
  return true;
}

CodePage codePageFromEnvironment() {
  const char* setting = std::getenv("VORNLEADS_CODEPAGE");
  if (setting != nullptr &&
      (equalsIgnoringCase(setting, "CP1252") || equalsIgnoringCase(setting, "WINDOWS-1252"))) {
    return CodePage::Cp1252;
  }
  return CodePage::Utf8;
}

std::atomic<CodePage>& currentCodePage() {
  // The environment is read once, on first use; tests replace the value explicitly.
  static std::atomic<CodePage> current{codePageFromEnvironment()};
  return current;
}

// UTF-8 from the host may be malformed; it is repaired here so that nothing downstream (the
// JSON parser above all) has to cope with broken sequences.
std::string sanitizedUtf8(const std::string& bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (std::size_t pos = 0; pos < bytes.size();) utf8::append(out, utf8::next(bytes, pos));
  return out;
}

}  // namespace

CodePage boundaryCodePage() { return currentCodePage().load(); }

void setBoundaryCodePage(CodePage codePage) { currentCodePage().store(codePage); }

AnsiString toAnsi(const std::string& utf8Text) {
  if (boundaryCodePage() == CodePage::Utf8) return utf8Text;
  AnsiString out;
  out.reserve(utf8Text.size());
  for (std::size_t pos = 0; pos < utf8Text.size();) {
    out += unicodeToCp1252(utf8::next(utf8Text, pos));
  }
  return out;
}

std::string fromAnsi(const AnsiString& bytes) {
  if (boundaryCodePage() == CodePage::Utf8) return sanitizedUtf8(bytes);
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 2);
  for (char byte : bytes) utf8::append(out, cp1252ToUnicode(static_cast<unsigned char>(byte)));
  return out;
}

}  // namespace vornleads
