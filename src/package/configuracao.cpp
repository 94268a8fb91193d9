#include "vornleads/package/configuracao.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

#include "package/text_lines.h"
#include "text/trimmed.h"

namespace vornleads {
namespace {

// Blanks around names and values on a line of the file.
const char* const kLineBlanks = " \t";

const char* const kIniFile = "VornLeadsVW.ini";
const char* const kSection = "Config";

bool sameName(const std::string& a, const std::string& b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](unsigned char x, unsigned char y) {
           return std::tolower(x) == std::tolower(y);
         });
}

std::string oneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\r', ' ');
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

bool isSectionHeader(const std::string& line) {
  const std::string text = trimmed(line, kLineBlanks);
  return text.size() >= 2 && text.front() == '[' && text.back() == ']';
}

bool isSection(const std::string& line, const std::string& name) {
  const std::string text = trimmed(line, kLineBlanks);
  return isSectionHeader(text) &&
         sameName(trimmed(text.substr(1, text.size() - 2), kLineBlanks), name);
}

bool isKey(const std::string& line, const std::string& key) {
  const auto equals = line.find('=');
  return equals != std::string::npos && sameName(trimmed(line.substr(0, equals), kLineBlanks), key);
}

// Sets key=value in the section, adding the key or the section when they are missing.
void setEntry(std::vector<std::string>& lines, const std::string& key, const std::string& value) {
  const std::string entry = key + "=" + value;
  const auto section = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
    return isSection(line, kSection);
  });
  if (section == lines.end()) {
    if (!lines.empty() && !trimmed(lines.back(), kLineBlanks).empty()) lines.emplace_back();
    lines.push_back(std::string("[") + kSection + "]");
    lines.push_back(entry);
    return;
  }
  const auto end = std::find_if(std::next(section), lines.end(), isSectionHeader);
  auto last = section;  // the last non-blank line of the section: new keys go after it
  for (auto it = std::next(section); it != end; ++it) {
    if (isKey(*it, key)) {
      *it = entry;
      return;
    }
    if (!trimmed(*it, kLineBlanks).empty()) last = it;
  }
  lines.insert(std::next(last), entry);
}

}  // namespace

std::string AcessaINI(const std::string& /*chave*/) {
  static const std::string endpoint = [] {
    const char* configured = std::getenv("VORNLEADS_ENDPOINT");
    return std::string(configured != nullptr && *configured != '\0' ? configured
                                                                    : VORNLEADS_BUILTIN_ENDPOINT);
  }();
  return endpoint;
}

bool GravaINI(const std::string& chave, const std::string& valor) {
  try {
    std::vector<std::string> lines;
    std::error_code error;
    if (std::filesystem::exists(kIniFile, error)) {
      std::ifstream in(kIniFile, std::ios::binary);
      if (!in) return false;
      const std::string content{std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>()};
      if (in.bad()) return false;
      lines = splitLines(content);
    } else if (error) {
      return false;
    }
    setEntry(lines, oneLine(trimmed(chave, kLineBlanks)), oneLine(valor));
    std::ofstream out(kIniFile, std::ios::binary | std::ios::trunc);
    for (const std::string& line : lines) out << line << "\r\n";
    out.close();
    return !out.fail();
  } catch (...) {
    return false;  // any failure is reported as "not written"; the caller answers code 202
  }
}

}  // namespace vornleads
