// The status record carried as "Status" in every reply of the leads service, and the JSON
// rules shared by every lead message record (records_requests.h, records_replies.h,
// records_working.h).
//
// Records are plain structs: public fields under the system's names, in declaration order,
// with default member initialisers (numbers 0, text empty, false). Each record has
//   std::string AsJSON() const;        compact JSON, one member per field, in declaration order
//   void AssignFromJSON(const std::string& json);   replaces every field
//   static T FromJSON(const std::string& json);
//
// Writing: text as JSON strings (UTF-8; invalid sequences become U+FFFD); a double holding a
// whole number as a plain integer (12345, not 12345.0), any other finite double as the
// shortest JSON number that reads back to the same value, NaN and infinities as null;
// integers as integers; booleans as true/false; date-time fields as the text
// "yyyy-mm-ddThh:nn:ss.zzz" (local time, milliseconds); an absent optional record as null;
// arrays as JSON arrays of objects.
//
// Reading: the text must be a JSON object. Missing members, members set to null and unknown
// members leave the field at the fresh record's default; an optional record member set to
// null becomes absent. Double fields take any JSON number; integer fields take whole numbers
// within 32 bits (a fraction such as 1.5 is refused); date-time fields take the text form
// above or a number of days. Every other mismatch raises ConversionError naming the record
// and the member, for example: JSON member "IdLead" of TItemBuscaLeadsClass must be text.
// Text that is not JSON, or JSON that is not an object, raises ConversionError with the
// parser's message. AssignFromJSON leaves the record untouched when it raises.
#pragma once

#include <string>

namespace vornleads {

// Codigo > 0 is a failure whose Descricao is the error text; 0 or less is success.
struct TStatusClass {
  double Codigo = 0;
  std::string Descricao;
  std::string Versao;

  std::string AsJSON() const;
  void AssignFromJSON(const std::string& json);
  static TStatusClass FromJSON(const std::string& json);
};

}  // namespace vornleads
