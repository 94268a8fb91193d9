// FormataString: a digit string padded to a mask of zeros.
//
// The text is left-padded with '0' to the mask's length: ("1234", "00000") -> "01234".
// Text as long as the mask or longer is returned unchanged (never cut). Only the mask's
// length matters.
#pragma once

#include <string>

namespace vornleads {

std::string FormataString(const std::string& valor, const std::string& mascara);

}  // namespace vornleads
