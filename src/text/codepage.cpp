#include "vornleads/text/codepage.h"

#include <atomic>
#include <cstdlib>
#include <string_view>

#include "text/cp1252.h"
#include "text/utf8_codec.h"

namespace vornleads {
namespace {

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
    out += cp1252::fromUnicode(utf8::next(utf8Text, pos));
  }
  return out;
}

std::string fromAnsi(const AnsiString& bytes) {
  if (boundaryCodePage() == CodePage::Utf8) return sanitizedUtf8(bytes);
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 2);
  for (char byte : bytes) utf8::append(out, cp1252::toUnicode(static_cast<unsigned char>(byte)));
  return out;
}

}  // namespace vornleads
