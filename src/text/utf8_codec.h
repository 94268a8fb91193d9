// Reading and writing UTF-8 one code point at a time, shared by the code page conversions.
#pragma once

#include <cstddef>
#include <string>

namespace vornleads::utf8 {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes the code point that starts at text[pos] and advances pos past it. A byte that does
// not start a well-formed sequence (overlong forms, encoded surrogates, values past U+10FFFF,
// truncated sequences) yields kReplacement and advances pos by one byte.
char32_t next(const std::string& text, std::size_t& pos);

// Appends the UTF-8 form of a code point; surrogates and values past U+10FFFF append U+FFFD.
void append(std::string& out, char32_t codePoint);

}  // namespace vornleads::utf8
