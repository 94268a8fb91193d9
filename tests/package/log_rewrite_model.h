// The reference model of a log file: the whole file is loaded as a list of lines (a line ends
// at CR, LF or CR LF), the separator and the entry are added as two items, and every item is
// saved followed by CR LF, replacing the file. Written apart from the real writer, which must
// give the same bytes. Used by the log tests and the log benchmark.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace vornleads::test {

inline void rewriteLogModel(const std::filesystem::path& file, const std::string& separator,
                            const std::string& entry) {
  std::vector<std::string> items;
  if (std::ifstream in{file, std::ios::binary}) {
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    size_t begin = 0;
    for (size_t i = 0; i < text.size(); ++i) {
      if (text[i] != '\r' && text[i] != '\n') continue;
      items.push_back(text.substr(begin, i - begin));
      if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
      begin = i + 1;
    }
    if (begin < text.size()) items.push_back(text.substr(begin));
  }
  items.push_back(separator);
  items.push_back(entry);
  std::ofstream out{file, std::ios::binary | std::ios::trunc};
  for (const std::string& item : items) out << item << "\r\n";
}

}  // namespace vornleads::test
