#include "package/text_lines.h"

namespace vornleads {

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::string line;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r' || c == '\n') {
      lines.push_back(std::move(line));
      line.clear();
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else {
      line += c;
    }
  }
  if (!line.empty()) lines.push_back(std::move(line));
  return lines;
}

std::string savedForm(const std::string& text) {
  std::string saved;
  saved.reserve(text.size() + 2);
  for (const std::string& line : splitLines(text)) {
    saved += line;
    saved += "\r\n";
  }
  return saved;
}

}  // namespace vornleads
