#include "view_options.h"

#include <cctype>

#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads::cli {

TDateTime parseIsoDate(const std::string& text) {
  bool shape = text.size() == 10 && text[4] == '-' && text[7] == '-';
  for (size_t i = 0; shape && i < text.size(); ++i) {
    if (i != 4 && i != 7) shape = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
  }
  if (!shape) throw ConversionError("\"" + text + "\" is not a date of the form YYYY-MM-DD");
  try {
    return EncodeDate(std::stoi(text.substr(0, 4)), std::stoi(text.substr(5, 2)),
                      std::stoi(text.substr(8, 2)));
  } catch (const ConversionError&) {
    throw ConversionError("\"" + text + "\" is not a date of the form YYYY-MM-DD");
  }
}

CLI::Validator isoDate() {
  return CLI::Validator(
      [](std::string& text) -> std::string {
        try {
          parseIsoDate(text);
          return "";
        } catch (const ConversionError& error) {
          return error.what();
        }
      },
      "YYYY-MM-DD");
}

}  // namespace vornleads::cli
