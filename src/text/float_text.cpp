#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

constexpr int kSignificantDigits = 15;

}  // namespace

// Fixed notation while the value has at most 15 integer digits and is at least 0.00001;
// scientific ("1,5E20", "1E-7") beyond that, as the host writes such values.
std::string FloatToStr(double value) {
  if (std::isnan(value)) return "NAN";
  if (std::isinf(value)) return value > 0 ? "INF" : "-INF";
  if (value == 0) return "0";

  // "%.14e" rounds correctly to 15 significant digits: d.dddddddddddddde±XX.
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*e", kSignificantDigits - 1, value);
  const std::string text = buffer;
  const bool negative = text[0] == '-';
  const std::size_t mantissaStart = negative ? 1 : 0;
  const std::size_t exponentMark = text.find('e');
  std::string digits = text.substr(mantissaStart, 1) +
                       text.substr(mantissaStart + 2, exponentMark - mantissaStart - 2);
  const int exponent = std::atoi(text.c_str() + exponentMark + 1);
  while (digits.size() > 1 && digits.back() == '0') digits.pop_back();

  const char comma = regionalSettings().decimalSeparator;
  std::string out = negative ? "-" : "";
  if (exponent >= kSignificantDigits || exponent < -5) {
    out += digits[0];
    if (digits.size() > 1) {
      out += comma;
      out.append(digits, 1, std::string::npos);
    }
    out += 'E';
    out += std::to_string(exponent);
  } else if (exponent < 0) {
    out += '0';
    out += comma;
    out.append(static_cast<std::size_t>(-exponent - 1), '0');
    out += digits;
  } else {
    const std::size_t integerDigits = static_cast<std::size_t>(exponent) + 1;
    if (digits.size() <= integerDigits) {
      out += digits;
      out.append(integerDigits - digits.size(), '0');
    } else {
      out.append(digits, 0, integerDigits);
      out += comma;
      out.append(digits, integerDigits, std::string::npos);
    }
  }
  return out;
}

}  // namespace vornleads
