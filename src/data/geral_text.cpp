#include <charconv>
#include <cmath>
#include <string>
#include <vector>

#include "data/geral_trim.h"
#include "vornleads/data/geral.h"

namespace vornleads {
namespace {

// Beyond this many places a double has no further digits worth writing.
constexpr int kMaxPlaces = 1100;

// Fixed-point text with "." as the point, independent of the process locale.
std::string fixed(double value, int decimals) {
  const int places = decimals < 0 ? 0 : (decimals > kMaxPlaces ? kMaxPlaces : decimals);
  std::string text(static_cast<std::size_t>(places) + 330, '\0');
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value,
                                    std::chars_format::fixed, places);
  text.resize(static_cast<std::size_t>(result.ptr - text.data()));
  return text;
}

double readFixed(const std::string& text) {
  double value = 0;
  // Text that is no number (the fraction of NaN) reads as 0.
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

}  // namespace

std::string StrZero(double value, int32_t width, int32_t decimals) {
  std::string text = geral::trim(fixed(value, decimals));
  if (width > 0 && text.size() < static_cast<std::size_t>(width)) {
    text.insert(0, static_cast<std::size_t>(width) - text.size(), '0');
  }
  return text;
}

std::string RetiraZeros(const std::string& value) {
  std::size_t first = 0;
  while (first + 1 < value.size() && value[first] == '0') ++first;
  return value.substr(first);
}

int32_t NumStr(const std::string& value, char ch) {
  int32_t count = 0;
  for (char c : value) {
    if (c == ch) ++count;
  }
  return count;
}

std::string CopiaStr(const std::string& value, int32_t index, char separator) {
  std::string list = geral::trim(value);
  if (list.empty() || list.back() != separator) list += separator;
  std::vector<std::string> fields;
  std::size_t start = 0;
  for (std::size_t end = list.find(separator); end != std::string::npos;
       end = list.find(separator, start)) {
    fields.push_back(list.substr(start, end - start));
    start = end + 1;
  }
  const std::size_t chosen = index <= 0 || static_cast<std::size_t>(index) > fields.size()
                                 ? fields.size()
                                 : static_cast<std::size_t>(index);
  return geral::trim(fields[chosen - 1]);
}

std::string AdItem(const std::string& value, char ch) { return value + ch; }

std::string RemoveQuebras(const std::string& value) {
  std::string out;
  out.reserve(value.size());
  for (char c : value) {
    if (c != '\n' && c != '\r') out += c;
  }
  return out;
}

std::string StringListPString(const std::vector<std::string>& list, char separator) {
  std::string text;
  for (const std::string& item : list) {
    text += item;
    text += separator;
  }
  return geral::trim(text);
}

bool IsNumber(const std::string& value) {
  const std::string text = geral::trim(value);
  bool anyDigit = false;
  for (char c : text) {
    if (c == ',' || c == '.' || c == '-') continue;
    if (c < '0' || c > '9') return false;
    anyDigit = true;
  }
  return anyDigit;
}

std::string RetiraStrings(const std::string& sub, const std::string& value) {
  if (sub.empty()) return value;
  std::string text = value;
  std::size_t from = 0;
  for (std::size_t at = text.find(sub); at != std::string::npos; at = text.find(sub, from)) {
    text.erase(at, sub.size());
    // Only the joint where the piece came out can form a new occurrence.
    from = at >= sub.size() - 1 ? at - (sub.size() - 1) : 0;
  }
  return text;
}

double TruncaValor(double value, int32_t decimals) {
  const int places = decimals < 0 ? 0 : decimals;
  const double integral = std::trunc(value);
  // One place more than kept, then that place is dropped: 0.28999999 (0.29 in binary)
  // becomes "0.290" -> "0.29" instead of losing the last kept digit.
  std::string fraction = fixed(value - integral, places + 1);
  fraction.pop_back();
  return integral + readFixed(fraction);
}

}  // namespace vornleads
