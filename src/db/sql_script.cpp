#include <cctype>

#include "db/schema_text.h"
#include "text/trimmed.h"

namespace vornleads {
namespace {

bool blank(const std::string& text) {
  for (char ch : text) {
    if (!std::isspace(static_cast<unsigned char>(ch))) return false;
  }
  return true;
}

}  // namespace

std::vector<std::string> splitSqlScript(const std::string& script) {
  std::vector<std::string> statements;
  std::string current;
  size_t i = 0;
  while (i < script.size()) {
    const char ch = script[i];
    if (ch == '\'') {
      // A quoted text runs to the next quote that is not doubled.
      const size_t begin = i++;
      while (i < script.size()) {
        if (script[i] == '\'' && i + 1 < script.size() && script[i + 1] == '\'') {
          i += 2;
        } else if (script[i++] == '\'') {
          break;
        }
      }
      current += script.substr(begin, i - begin);
    } else if (ch == '-' && i + 1 < script.size() && script[i + 1] == '-') {
      while (i < script.size() && script[i] != '\n') ++i;
    } else if (ch == '/' && i + 1 < script.size() && script[i + 1] == '*') {
      const size_t end = script.find("*/", i + 2);
      i = end == std::string::npos ? script.size() : end + 2;
    } else if (ch == ';') {
      if (!blank(current)) statements.push_back(trimmed(current));
      current.clear();
      ++i;
    } else {
      current += ch;
      ++i;
    }
  }
  if (!blank(current)) statements.push_back(trimmed(current));
  return statements;
}

}  // namespace vornleads
