// The JSON object mapper behind the lead message records (internal).
//
// Each record's field list is written once, in records_fields.h, as
//   template <> struct RecordFields<T> {
//     static constexpr const char* name = "T";
//     template <class Mapper, class Self> static void map(Mapper& m, Self& r) {
//       m("Field", r.Field);  m.dateTime("When", r.When);  ...
//     }
//   };
// and serves both directions: Writer visits a const record and builds the JSON object, Reader
// visits a fresh record and fills it from one. The rules they apply are documented for the
// users of the records in <vornleads/service/records_status.h>.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "vornleads/types.h"

namespace vornleads::json_mapper {

using Json = nlohmann::ordered_json;

template <class Record>
struct RecordFields;

template <class Record>
Json toJson(const Record& record);
template <class Record>
void fromJson(const Json& object, Record& record);

class Writer {
 public:
  void operator()(const char* name, const std::string& value);
  void operator()(const char* name, double value);
  void operator()(const char* name, int32_t value);
  void operator()(const char* name, bool value);
  // TDateTime is a double; its text form needs its own entry point.
  void dateTime(const char* name, TDateTime value);

  template <class Record>
  void operator()(const char* name, const std::optional<Record>& value) {
    object_[name] = value ? toJson(*value) : Json(nullptr);
  }

  template <class Record>
  void operator()(const char* name, const std::vector<Record>& items) {
    Json array = Json::array();
    for (const Record& item : items) array.push_back(toJson(item));
    object_[name] = std::move(array);
  }

  Json take() { return std::move(object_); }

 private:
  Json object_ = Json::object();
};

class Reader {
 public:
  Reader(const Json& object, const char* recordName) : object_(object), record_(recordName) {}

  void operator()(const char* name, std::string& value) const;
  void operator()(const char* name, double& value) const;
  void operator()(const char* name, int32_t& value) const;
  void operator()(const char* name, bool& value) const;
  void dateTime(const char* name, TDateTime& value) const;

  template <class Record>
  void operator()(const char* name, std::optional<Record>& value) const {
    auto it = object_.find(name);
    if (it == object_.end()) return;
    if (it->is_null()) {
      value.reset();
      return;
    }
    if (!it->is_object()) fail(name, "must be an object or null");
    Record record;
    fromJson(*it, record);
    value = std::move(record);
  }

  template <class Record>
  void operator()(const char* name, std::vector<Record>& items) const {
    const Json* member = present(name);
    if (member == nullptr) return;
    if (!member->is_array()) fail(name, "must be an array of objects");
    std::vector<Record> read;
    read.reserve(member->size());
    for (const Json& element : *member) {
      if (!element.is_object()) fail(name, "must be an array of objects");
      fromJson(element, read.emplace_back());
    }
    items = std::move(read);
  }

 private:
  // The member's value, or null when it is missing or JSON null (the field keeps its value).
  const Json* present(const char* name) const;
  [[noreturn]] void fail(const char* name, const std::string& requirement) const;

  const Json& object_;
  const char* record_;
};

// Parses text that must hold a JSON object; raises ConversionError naming the record otherwise.
Json parseObject(const std::string& text, const char* recordName);
// Compact text; invalid UTF-8 in strings becomes U+FFFD rather than an error.
std::string dump(const Json& json);

// The date-time text form "yyyy-mm-ddThh:nn:ss.zzz", and back (nullopt when the text has
// another shape or names an impossible date).
std::string formatDateTime(TDateTime value);
std::optional<TDateTime> parseDateTime(const std::string& text);

template <class Record>
Json toJson(const Record& record) {
  Writer writer;
  RecordFields<Record>::map(writer, record);
  return writer.take();
}

template <class Record>
void fromJson(const Json& object, Record& record) {
  const Reader reader(object, RecordFields<Record>::name);
  RecordFields<Record>::map(reader, record);
}

template <class Record>
Record readRecord(const std::string& text) {
  Record record;
  fromJson(parseObject(text, RecordFields<Record>::name), record);
  return record;
}

}  // namespace vornleads::json_mapper

// The three JSON members every record declares.
#define VORNLEADS_JSON_RECORD(Type)                                                          \
  std::string Type::AsJSON() const { return json_mapper::dump(json_mapper::toJson(*this)); } \
  void Type::AssignFromJSON(const std::string& json) { *this = FromJSON(json); }             \
  Type Type::FromJSON(const std::string& json) { return json_mapper::readRecord<Type>(json); }
