#include "view_table.h"

#include <algorithm>
#include <utility>

#include "vornleads/text/datetime.h"

namespace vornleads::cli {
namespace {

nlohmann::ordered_json jsonOf(const SqlValue& value) {
  switch (value.kind()) {
    case SqlValue::Kind::Null:
      return nullptr;
    case SqlValue::Kind::Integer:
      return value.asInteger();
    case SqlValue::Kind::Float:
      return value.asFloat();
    case SqlValue::Kind::Text:
      return value.asString();
    case SqlValue::Kind::Date:
      return FormatDateTime("yyyy-mm-dd", value.asDateTime());
    case SqlValue::Kind::DateTime:
      return FormatDateTime("yyyy-mm-dd hh:nn:ss", value.asDateTime());
  }
  return nullptr;
}

std::string cellOf(const nlohmann::ordered_json& value) {
  if (value.is_null()) return "";
  if (!value.is_string()) return value.dump();
  std::string cell;
  const std::string& text = value.get_ref<const std::string&>();
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    cell += text[i] == '\r' || text[i] == '\n' ? std::string(" / ") : std::string(1, text[i]);
  }
  return cell;
}

// Width on a terminal: UTF-8 continuation bytes take no column.
size_t widthOf(const std::string& text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

}  // namespace

ViewTable::ViewTable(std::vector<std::string> columns) : columns_(std::move(columns)) {}

void ViewTable::add(const SqlRowSet& rows, size_t row) {
  std::vector<nlohmann::ordered_json> values;
  for (const std::string& column : columns_) values.push_back(jsonOf(rows.value(row, column)));
  rows_.push_back(std::move(values));
}

void ViewTable::print(std::ostream& out, bool json) const {
  if (json) {
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (const auto& row : rows_) {
      nlohmann::ordered_json object = nlohmann::ordered_json::object();
      for (size_t c = 0; c < columns_.size(); ++c) object[columns_[c]] = row[c];
      array.push_back(std::move(object));
    }
    out << array.dump(2) << "\n";
    return;
  }
  std::vector<std::vector<std::string>> cells{columns_};
  for (const auto& row : rows_) {
    cells.emplace_back();
    for (const auto& value : row) cells.back().push_back(cellOf(value));
  }
  std::vector<size_t> widths(columns_.size(), 0);
  for (const auto& line : cells) {
    for (size_t c = 0; c < line.size(); ++c) widths[c] = std::max(widths[c], widthOf(line[c]));
  }
  for (const auto& line : cells) {
    std::string text;
    for (size_t c = 0; c < line.size(); ++c) {
      text += line[c];
      if (c + 1 < line.size()) text += std::string(widths[c] - widthOf(line[c]) + 2, ' ');
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    out << text << "\n";
  }
}

}  // namespace vornleads::cli
