// Text and number conversions of the lead fields, as the host's runtime makes them.
#pragma once

#include <cstdint>
#include <string>

namespace vornleads::intake {

// A decimal integer within 32 bits: leading blanks, an optional sign, digits, nothing after.
// ConversionError '"<text>" is not a valid integer value' otherwise.
int32_t TextoParaInteiro(const std::string& texto);

// The nearest integer, halves to the even neighbour. ConversionError for NaN, infinities and
// values outside 32 bits.
int32_t ArredondaInteiro(double valor);

// A decimal number with the regional decimal comma ("150000,75"); a text that only reads
// with a decimal point ("150000.75") is taken too, since the service does not follow the
// dealer's regional settings. Leading and trailing blanks, a sign and an exponent are
// accepted; thousands separators are not. ConversionError
// '"<text>" is not a valid floating point value' otherwise.
double TextoParaReal(const std::string& texto);

}  // namespace vornleads::intake
