// Windows-1252, the ANSI code page of the DMS's Windows hosts and of Windows SOAP servers.
#pragma once

namespace vornleads::cp1252 {

// The code point of a byte. The five bytes the code page leaves undefined (0x81, 0x8D, 0x8F,
// 0x90, 0x9D) map to the C1 control of the same value, so that any byte sequence survives a
// round trip through UTF-8; isDefined() tells them apart where that matters.
char32_t toUnicode(unsigned char byte);
bool isDefined(unsigned char byte);

// The byte for a code point, or '?' when the code page has no such character.
char fromUnicode(char32_t codePoint);

}  // namespace vornleads::cp1252
