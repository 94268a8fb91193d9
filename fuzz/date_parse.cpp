// The date-time parsers of the host's regional format: StrToDateTime under the regional
// settings, under the settings the leads service's dates are read with, and under settings
// taken from the input; and DataHoraStrPSql, which turns such text into an SQL literal.
// Input: the settings (date separator, time separator, then the short date format), byte 0x01,
// then the text. Text that is no date-time ends in ConversionError. A date-time that was read
// under the regional settings is written out to the millisecond and read back to the same value.
#include <string>

#include "fuzz_input.h"
#include "vornleads/data/geral.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace {

using vornleads::ConversionError;
using vornleads::FormatSettings;
using vornleads::TDateTime;

FormatSettings settingsFrom(const std::string& argument) {
  FormatSettings settings;
  if (argument.size() > 0) settings.dateSeparator = argument[0];
  if (argument.size() > 1) settings.timeSeparator = argument[1];
  if (argument.size() > 2) settings.shortDateFormat = argument.substr(2);
  return settings;
}

FormatSettings serviceSettings() {
  FormatSettings settings;
  settings.shortDateFormat = "dd/mm/yyyy";
  settings.longTimeFormat = "HH:mm:Ss";
  return settings;
}

void parse(const std::string& text, const FormatSettings& settings) {
  try {
    vornleads::DecodeDateTime(vornleads::StrToDateTime(text, settings));
  } catch (const ConversionError&) {
  }
}

void parseRegional(const std::string& text) {
  TDateTime value = 0;
  try {
    value = vornleads::StrToDateTime(text);
  } catch (const ConversionError&) {
    return;
  }
  const std::string written = vornleads::FormatDateTime("dd/mm/yyyy hh:nn:ss.zzz", value);
  if (vornleads::StrToDateTime(written) != value) {
    vornleads::fuzz::finding("a date-time read back from its own text has another value");
  }
}

void toSql(const std::string& text) {
  for (const char* dialect : {"INTERBASE", "ORACLE", "SQLSERVER"}) {
    try {
      vornleads::DataHoraStrPSql(text, dialect);
    } catch (const ConversionError&) {
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto arguments = vornleads::fuzz::arguments(data, size, 2);
  const std::string& text = arguments[1];
  parseRegional(text);
  parse(text, serviceSettings());
  parse(text, settingsFrom(arguments[0]));
  toSql(text);
  return 0;
}
