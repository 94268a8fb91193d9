#include "json_values.h"

#include <cmath>
#include <sstream>

#include "text/trimmed.h"

namespace vornleads::sandbox {
namespace {

// Blanks around values and list entries.
const char* const kBlanks = " \t\r\n";

bool allDigits(const std::string& text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

// Digit strings of any length compare as integers once their leading zeros are gone, which
// also keeps dealer numbers longer than 64 bits from overflowing.
std::string withoutLeadingZeros(const std::string& digits) {
  const auto first = digits.find_first_not_of('0');
  return first == std::string::npos ? std::string("0") : digits.substr(first);
}

bool isWholeDouble(double value) {
  return std::isfinite(value) && std::trunc(value) == value && std::fabs(value) < 9.2e18;
}

}  // namespace

void writeWholeNumbersAsIntegers(Json& value) {
  if (value.is_number_float()) {
    const double number = value.get<double>();
    if (isWholeDouble(number)) value = static_cast<long long>(number);
    return;
  }
  if (value.is_structured()) {
    for (auto& element : value) writeWholeNumbersAsIntegers(element);
  }
}

std::string textOf(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number_float()) {
    const double number = value.get<double>();
    if (isWholeDouble(number)) return std::to_string(static_cast<long long>(number));
    std::ostringstream out;
    out.precision(15);
    out << number;
    return out.str();
  }
  if (value.is_number()) return value.dump();
  return {};
}

std::optional<long long> leadIdOf(const Json& value) {
  if (value.is_number_integer()) return value.get<long long>();
  if (value.is_number_float()) {
    const double number = value.get<double>();
    if (isWholeDouble(number)) return static_cast<long long>(number);
    return std::nullopt;
  }
  if (value.is_string()) {
    const std::string text = trimmed(value.get<std::string>(), kBlanks);
    const bool negative = !text.empty() && text[0] == '-';
    const std::string digits = negative ? text.substr(1) : text;
    if (!allDigits(digits) || digits.size() > 18) return std::nullopt;
    const long long magnitude = std::stoll(digits);
    return negative ? -magnitude : magnitude;
  }
  return std::nullopt;
}

std::vector<std::string> splitDealerNumbers(const std::string& list) {
  std::vector<std::string> numbers;
  std::istringstream in(list);
  std::string entry;
  while (std::getline(in, entry, ',')) {
    entry = trimmed(entry, kBlanks);
    if (!entry.empty()) numbers.push_back(entry);
  }
  return numbers;
}

bool sameDealer(const std::string& left, const std::string& right) {
  const std::string a = trimmed(left, kBlanks);
  const std::string b = trimmed(right, kBlanks);
  if (allDigits(a) && allDigits(b)) return withoutLeadingZeros(a) == withoutLeadingZeros(b);
  return !a.empty() && a == b;
}

}  // namespace vornleads::sandbox
