// Small JSON value helpers of the sandbox: whole numbers written as integers, identifiers and
// dealer numbers read from text or numbers, and dealer numbers compared as integers.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace vornleads::sandbox {

using Json = nlohmann::ordered_json;

// Rewrites, in place and at every depth, each floating-point number that holds a whole value
// (and fits in 64 bits) as an integer, so that 12345.0 is written 12345.
void writeWholeNumbersAsIntegers(Json& value);

// The text of a JSON string, or the decimal text of a number (whole numbers without ".0");
// empty for null and for any other kind of value.
std::string textOf(const Json& value);

// A lead identifier from a JSON number or a numeric text; absent when the value is neither or
// is not a whole number.
std::optional<long long> leadIdOf(const Json& value);

// Dealer numbers ("DN") from a comma-separated list; blanks around each entry are dropped and
// empty entries skipped.
std::vector<std::string> splitDealerNumbers(const std::string& list);

// Whether two dealer numbers name the same dealer: all-digit numbers compare as integers
// ("01234" equals "1234"), anything else compares as trimmed text.
bool sameDealer(const std::string& left, const std::string& right);

}  // namespace vornleads::sandbox
