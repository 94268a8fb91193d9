// Cutting UTF-8 text to a number of characters.
#pragma once

#include <cstddef>
#include <string>

namespace vornleads {

// The first `limite` characters (code points) of UTF-8 text; the whole text when it is not
// longer. A multi-byte character is never split. Bytes that do not start a character
// (a stray continuation byte) belong to the character before them.
std::string primeirosCaracteres(const std::string& texto, std::size_t limite);

}  // namespace vornleads
