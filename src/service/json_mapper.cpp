#include "service/json_mapper.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads::json_mapper {
namespace {

// Doubles in this range convert to int64_t exactly when they are whole.
constexpr double kInt64Limit = 9223372036854775808.0;  // 2^63

bool isWhole(double value) { return std::isfinite(value) && std::trunc(value) == value; }

// The JSON library's own DOM builder, told where in the document each value stands, so that
// text it cannot read is reported as the record's own conversion error naming the member, and
// a number no double can hold (1e400) as the member it was meant for.
class LocatingParser : public nlohmann::detail::json_sax_dom_parser<Json> {
 public:
  using Base = nlohmann::detail::json_sax_dom_parser<Json>;

  LocatingParser(Json& result, const char* recordName) : Base(result, true), record_(recordName) {}

  bool null() {
    return scalar([this] { return Base::null(); });
  }
  bool boolean(bool v) {
    return scalar([&] { return Base::boolean(v); });
  }
  bool number_integer(Json::number_integer_t v) {
    return scalar([&] { return Base::number_integer(v); });
  }
  bool number_unsigned(Json::number_unsigned_t v) {
    return scalar([&] { return Base::number_unsigned(v); });
  }
  bool number_float(Json::number_float_t v, const std::string& text) {
    return scalar([&] { return Base::number_float(v, text); });
  }
  bool string(std::string& v) {
    return scalar([&] { return Base::string(v); });
  }
  bool start_object(std::size_t size) {
    starts();
    path_.push_back({false, "", -1});
    return Base::start_object(size);
  }
  bool key(std::string& name) {
    path_.back().key = name;
    return Base::key(name);
  }
  bool end_object() {
    path_.pop_back();
    ends();
    return Base::end_object();
  }
  bool start_array(std::size_t size) {
    starts();
    path_.push_back({true, "", -1});
    return Base::start_array(size);
  }
  bool end_array() {
    path_.pop_back();
    ends();
    return Base::end_array();
  }

  template <class Exception>
  bool parse_error(std::size_t, const std::string& token, const Exception& error) {
    constexpr int kNumberOverflow = 406;
    if (error.id == kNumberOverflow) {
      starts();
      if (where().empty()) {
        throw ConversionError(std::string("JSON for ") + record_ + " must be an object, not " +
                              token);
      }
      throw ConversionError("JSON member \"" + where() + "\" of " + record_ +
                            " must be a number within the range of a double, not " + token);
    }
    const std::string member = where().empty() ? "" : " in member \"" + where() + "\"";
    throw ConversionError(std::string("Invalid JSON for ") + record_ + member + ": " +
                          error.what());
  }

 private:
  struct Step {
    bool inArray;
    std::string key;  // in an object, the member whose value is being read; empty between
    long index;       // in an array, the element being read
  };

  template <class Event>
  bool scalar(Event event) {
    starts();
    const bool accepted = event();
    ends();
    return accepted;
  }
  // A value starts: inside an array it is the next element.
  void starts() {
    if (!path_.empty() && path_.back().inArray) ++path_.back().index;
  }
  // A value is complete: inside an object, no member is being read until the next key.
  void ends() {
    if (!path_.empty() && !path_.back().inArray) path_.back().key.clear();
  }

  // "Leads[0].Ddd"
  std::string where() const {
    std::string text;
    for (const Step& step : path_) {
      if (step.inArray) {
        text += "[" + std::to_string(step.index) + "]";
      } else if (!step.key.empty()) {
        text += (text.empty() ? "" : ".") + step.key;
      }
    }
    return text;
  }

  const char* record_;
  std::vector<Step> path_;
};

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
    LocatingParser parser(parsed, recordName);
    Json::sax_parse(text, &parser);
  } catch (const Json::exception& error) {
    // The parser reports what it reads through LocatingParser; nothing else of the JSON
    // library's may reach the caller either.
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
