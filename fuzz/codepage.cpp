// The boundary code-page conversions over any bytes a host may pass: into UTF-8 and back under
// both code pages, and the UTF-8 helpers behind them. Checks: what fromAnsi gives is
// well-formed UTF-8 (it crosses UTF-16 and back unchanged, as do the upper-cased and the ASCII
// forms); under Windows-1252 every byte sequence survives fromAnsi then toAnsi.
#include <string>

#include "fuzz_input.h"
#include "vornleads/text/codepage.h"

namespace {

using namespace vornleads;

bool wellFormed(const std::string& utf8) { return utf16ToUtf8(utf8ToUtf16(utf8)) == utf8; }

void check(bool holds, const char* what) {
  if (!holds) fuzz::finding(what);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes = fuzz::asText(data, size);

  setBoundaryCodePage(CodePage::Utf8);
  const std::string repaired = fromAnsi(bytes);
  check(wellFormed(repaired), "UTF-8 from the host is not well-formed after repair");
  check(toAnsi(repaired) == repaired, "well-formed UTF-8 changes on its way out");
  check(utf16ToUtf8(utf8ToUtf16(bytes)) == repaired,
        "UTF-16 and the repair disagree on malformed UTF-8");
  check(wellFormed(upperCase(repaired)), "upper case of well-formed UTF-8 is not well-formed");
  const std::string ascii = toAscii(bytes);
  for (char c : ascii) check(static_cast<unsigned char>(c) < 0x80, "toAscii left a non-ASCII byte");

  setBoundaryCodePage(CodePage::Cp1252);
  const std::string fromCp1252 = fromAnsi(bytes);
  check(wellFormed(fromCp1252), "UTF-8 read from Windows-1252 is not well-formed");
  check(toAnsi(fromCp1252) == bytes, "Windows-1252 bytes do not survive a round trip");
  toAnsi(bytes);
  return 0;
}
