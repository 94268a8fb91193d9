// The boundary code page: how 8-bit strings cross to the host and the library edition.
//
// Inside VornLeads all text is UTF-8. Text that crosses the module boundary (facade
// operations, IntegraLeadsVW) is an AnsiString in the boundary code page: UTF-8 by default,
// or Windows-1252 when the environment variable VORNLEADS_CODEPAGE is "CP1252" at the first
// call. Conversion into UTF-8 is lossless; characters the code page lacks become '?' on the
// way out.
#pragma once

#include <string>

#include "vornleads/types.h"

namespace vornleads {

enum class CodePage { Utf8, Cp1252 };

// The code page in force; read from VORNLEADS_CODEPAGE once, unless set explicitly.
CodePage boundaryCodePage();
void setBoundaryCodePage(CodePage codePage);

// UTF-8 text -> boundary bytes, and back.
AnsiString toAnsi(const std::string& utf8);
std::string fromAnsi(const AnsiString& bytes);

// UTF-8 <-> UTF-16. Invalid UTF-8 sequences become U+FFFD.
std::u16string utf8ToUtf16(const std::string& utf8);
std::string utf16ToUtf8(const std::u16string& utf16);

// Every character outside ASCII becomes '?' (one '?' per character, not per byte).
std::string toAscii(const std::string& utf8);

// Upper case of UTF-8 text, including the accented Latin letters (ç -> Ç, ã -> Ã).
std::string upperCase(const std::string& utf8);

}  // namespace vornleads
