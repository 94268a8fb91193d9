// ASCII letters in the other case, every other byte as it is: for keywords, names of tables and
// labels, which are ASCII, and safe on UTF-8 text (its bytes above 127 stay untouched).
// Independent of the process's locale.
#pragma once

#include <string>

namespace vornleads {

inline std::string asciiUpper(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  return text;
}

inline std::string asciiLower(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  return text;
}

}  // namespace vornleads
