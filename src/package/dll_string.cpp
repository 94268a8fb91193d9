#include "vornleads/package/dll_string.h"

#include <algorithm>
#include <string>

#include "vornleads/text/codepage.h"

namespace vornleads {

TAnsiString::TAnsiString(const AnsiString& S) {
  if (S.empty()) return;
  const std::u16string wide = utf8ToUtf16(fromAnsi(S));
  FStr = std::make_unique<char16_t[]>(wide.size() + 1);  // value-initialised: ends in NUL
  std::copy(wide.begin(), wide.end(), FStr.get());
}

}  // namespace vornleads
