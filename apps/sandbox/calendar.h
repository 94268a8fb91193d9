// Local date-times of the sandbox as the service's clients write them: a day count since
// 30 December 1899 with the time of day as the fraction (local time), and the text forms
// "dd/mm/yyyy", "dd/mm/yyyy hh:nn:ss" and "yyyy-mm-ddThh:nn:ss".
#pragma once

#include <optional>
#include <string>

namespace vornleads::sandbox {

// The current local time as a day count.
double localNow();

// The day count of a text date or date-time in one of the forms above (time of day optional,
// seconds optional); absent when the text is none of them or names an impossible date.
std::optional<double> parseDateTime(const std::string& text);

// "dd/mm/yyyy hh:nn:ss" of a day count.
std::string formatDateTime(double days);

}  // namespace vornleads::sandbox
