// Text without the given blank bytes at either end. ASCII blanks only, independent of the
// process's locale; every reader names the blanks its format allows.
#pragma once

#include <string>

namespace vornleads {

inline constexpr const char* kAsciiSpace = " \t\n\v\f\r";  // what isspace() takes in the C locale

inline std::string trimmed(const std::string& text, const char* blanks = kAsciiSpace) {
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace vornleads
