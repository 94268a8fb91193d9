#include "service/json_mapper.h"

#include <cmath>
#include <cstdio>
#include <limits>

#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads::json_mapper {
namespace {

// Doubles in this range convert to int64_t exactly when they are whole.
constexpr double kInt64Limit = 9223372036854775808.0;  // 2^63

bool isWhole(double value) { return std::isfinite(value) && std::trunc(value) == value; }

}  // namespace

void Writer::operator()(const char* name, const std::string& value) { object_[name] = value; }

void Writer::operator()(const char* name, double value) {
  if (!std::isfinite(value)) {
    object_[name] = nullptr;  // JSON has no NaN or infinity
  } else if (isWhole(value) && value > -kInt64Limit && value < kInt64Limit) {
    object_[name] = static_cast<int64_t>(value);
  } else {
    object_[name] = value;
  }
}

void Writer::operator()(const char* name, int32_t value) { object_[name] = value; }

void Writer::operator()(const char* name, bool value) { object_[name] = value; }

void Writer::dateTime(const char* name, TDateTime value) { object_[name] = formatDateTime(value); }

const Json* Reader::present(const char* name) const {
  auto it = object_.find(name);
  if (it == object_.end() || it->is_null()) return nullptr;
  return &*it;
}

void Reader::fail(const char* name, const std::string& requirement) const {
  throw ConversionError(std::string("JSON member \"") + name + "\" of " + record_ + " " +
                        requirement);
}

void Reader::operator()(const char* name, std::string& value) const {
  const Json* member = present(name);
  if (member == nullptr) return;
  if (!member->is_string()) fail(name, "must be text");
  value = member->get<std::string>();
}

void Reader::operator()(const char* name, double& value) const {
  const Json* member = present(name);
  if (member == nullptr) return;
  if (!member->is_number()) fail(name, "must be a number");
  value = member->get<double>();
}

void Reader::operator()(const char* name, int32_t& value) const {
  const Json* member = present(name);
  if (member == nullptr) return;
  constexpr auto kMin = std::numeric_limits<int32_t>::min();
  constexpr auto kMax = std::numeric_limits<int32_t>::max();
  bool fits = false;
  if (member->is_number_unsigned()) {
    fits = member->get<uint64_t>() <= static_cast<uint64_t>(kMax);
  } else if (member->is_number_integer()) {
    const auto whole = member->get<int64_t>();
    fits = whole >= kMin && whole <= kMax;
  } else if (member->is_number_float()) {
    // 5.0 is accepted: some writers print every number with a fraction.
    const auto number = member->get<double>();
    fits = isWhole(number) && number >= kMin && number <= kMax;
  }
  if (!fits) fail(name, "must be a whole number from -2147483648 to 2147483647");
  value = member->get<int32_t>();
}

void Reader::operator()(const char* name, bool& value) const {
  const Json* member = present(name);
  if (member == nullptr) return;
  if (!member->is_boolean()) fail(name, "must be true or false");
  value = member->get<bool>();
}

void Reader::dateTime(const char* name, TDateTime& value) const {
  const Json* member = present(name);
  if (member == nullptr) return;
  if (member->is_number()) {
    value = member->get<double>();
    return;
  }
  std::optional<TDateTime> parsed;
  if (member->is_string()) parsed = parseDateTime(member->get<std::string>());
  if (!parsed) fail(name, "must be a date and time as \"yyyy-mm-ddThh:nn:ss.zzz\"");
  value = *parsed;
}

Json parseObject(const std::string& text, const char* recordName) {
  Json parsed;
  try {
    parsed = Json::parse(text);
  } catch (const Json::exception& error) {
    // Not only syntax: a number beyond the range of a double is refused as out_of_range.
    throw ConversionError(std::string("Invalid JSON for ") + recordName + ": " + error.what());
  }
  if (!parsed.is_object()) {
    throw ConversionError(std::string("JSON for ") + recordName + " must be an object, not " +
                          parsed.type_name());
  }
  return parsed;
}

std::string dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string formatDateTime(TDateTime value) {
  const DateTimeParts parts = DecodeDateTime(value);
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", parts.year, parts.month,
                parts.day, parts.hour, parts.minute, parts.second, parts.millisecond);
  return text;
}

std::optional<TDateTime> parseDateTime(const std::string& text) {
  // Exactly the shape formatDateTime writes: 23 characters, digits where digits belong.
  static const std::string kShape = "dddd-dd-ddTdd:dd:dd.ddd";
  if (text.size() != kShape.size()) return std::nullopt;
  for (size_t i = 0; i < kShape.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (kShape[i] == 'd' ? !digit : text[i] != kShape[i]) return std::nullopt;
  }
  const auto number = [&](size_t at, size_t width) { return std::stoi(text.substr(at, width)); };
  try {
    return EncodeDateTime({number(0, 4), number(5, 2), number(8, 2), number(11, 2), number(14, 2),
                           number(17, 2), number(20, 3)});
  } catch (const ConversionError&) {
    return std::nullopt;  // a well-shaped but impossible date, such as 2024-02-31
  }
}

}  // namespace vornleads::json_mapper
