// Blank trimming as the Geral helpers do it: every control character and space counts as
// blank, at either end.
#pragma once

#include <string>

namespace vornleads::geral {

inline bool isBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }

inline std::string trim(const std::string& text) {
  std::size_t begin = 0, end = text.size();
  while (begin < end && isBlank(text[begin])) ++begin;
  while (end > begin && isBlank(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

}  // namespace vornleads::geral
