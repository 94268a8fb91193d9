#include <cctype>
#include <string>

#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

char upperLetter(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

void appendPadded(std::string& out, int value, int width) {
  std::string digits = std::to_string(value);
  if (static_cast<int>(digits.size()) < width) {
    out.append(static_cast<std::size_t>(width) - digits.size(), '0');
  }
  out += digits;
}

// Length of the run of the same letter (in either case) starting at format[pos].
std::size_t runLength(const std::string& format, std::size_t pos) {
  const char letter = upperLetter(format[pos]);
  std::size_t end = pos;
  while (end < format.size() && upperLetter(format[end]) == letter) ++end;
  return end - pos;
}

}  // namespace

const FormatSettings& regionalSettings() {
  static const FormatSettings settings;
  return settings;
}

std::string FormatDateTime(const std::string& format, TDateTime value) {
  // Cut below the millisecond, never rounded: text without milliseconds must not name a later
  // second, or day, than the value holds (these texts end up in SQL and in VW's dates).
  const DateTimeParts parts = DecodeDateTimeTruncated(value);
  std::string out;
  char lastToken = 0;
  std::size_t pos = 0;
  while (pos < format.size()) {
    const char c = format[pos];
    if (c == '"' || c == '\'') {
      const std::size_t close = format.find(c, pos + 1);
      const std::size_t end = close == std::string::npos ? format.size() : close;
      out.append(format, pos + 1, end - pos - 1);
      pos = end == format.size() ? end : end + 1;
      continue;
    }
    if (!isAsciiLetter(c)) {
      out += c;
      ++pos;
      continue;
    }
    const std::size_t run = runLength(format, pos);
    char token = upperLetter(c);
    // "mm" straight after an hour (separators between do not count) is the minute.
    if (token == 'M' && lastToken == 'H') token = 'N';
    lastToken = token;
    std::size_t used = run < 2 ? run : 2;
    switch (token) {
      case 'Y':
        used = run;
        if (run <= 2) {
          appendPadded(out, parts.year % 100, 2);
        } else {
          appendPadded(out, parts.year, 4);
        }
        break;
      case 'M':
        appendPadded(out, parts.month, static_cast<int>(used));
        break;
      case 'D':
        appendPadded(out, parts.day, static_cast<int>(used));
        break;
      case 'H':
        appendPadded(out, parts.hour, static_cast<int>(used));
        break;
      case 'N':
        appendPadded(out, parts.minute, static_cast<int>(used));
        break;
      case 'S':
        appendPadded(out, parts.second, static_cast<int>(used));
        break;
      case 'Z':
        used = run < 3 ? 1 : 3;
        appendPadded(out, parts.millisecond, used == 3 ? 3 : 0);
        break;
      default:
        // Letters without a meaning here are text.
        used = 1;
        out += c;
        break;
    }
    pos += used;
  }
  return out;
}

std::string DateTimeToStr(TDateTime value) {
  const FormatSettings& settings = regionalSettings();
  const DateTimeParts parts = DecodeDateTimeTruncated(value);
  std::string text = FormatDateTime(settings.shortDateFormat, value);
  if (parts.hour != 0 || parts.minute != 0 || parts.second != 0 || parts.millisecond != 0) {
    text += ' ';
    text += FormatDateTime(settings.longTimeFormat, value);
  }
  return text;
}

}  // namespace vornleads
