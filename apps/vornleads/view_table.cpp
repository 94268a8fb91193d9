#include "view_table.h"

#include <algorithm>
#include <utility>

#include "vornleads/text/datetime.h"

namespace vornleads::cli {
namespace {

constexpr size_t kTextFloor = 20;  // a free text keeps this much before headers are cut
constexpr size_t kLastFloor = 3;   // no cell is cut narrower

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

// Narrows the column with the most room above its floor by one, again and again, until the
// line (two blanks between columns) fits the width or every column is at its floor.
void narrow(std::vector<size_t>& widths, const std::vector<size_t>& floors, size_t width) {
  size_t line = 2 * (widths.size() - 1);
  for (size_t w : widths) line += w;
  while (line > width) {
    size_t roomiest = widths.size();
    for (size_t c = 0; c < widths.size(); ++c) {
      if (widths[c] > floors[c] && (roomiest == widths.size() ||
                                    widths[c] - floors[c] > widths[roomiest] - floors[roomiest])) {
        roomiest = c;
      }
    }
    if (roomiest == widths.size()) return;
    --widths[roomiest];
    --line;
  }
}

}  // namespace

size_t displayWidth(const std::string& text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string cutToWidth(const std::string& text, size_t width) {
  if (displayWidth(text) <= width) return text;
  if (width == 0) return "";
  size_t end = 0;
  for (size_t columns = 0; end < text.size(); ++end) {
    if ((static_cast<unsigned char>(text[end]) & 0xC0) != 0x80 && ++columns == width) break;
  }
  return text.substr(0, end) + "…";
}

ViewTable::ViewTable(std::vector<std::string> columns, std::set<std::string> textColumns)
    : columns_(std::move(columns)), textColumns_(std::move(textColumns)) {}

void ViewTable::add(const SqlRowSet& rows, size_t row) {
  std::vector<nlohmann::ordered_json> values;
  for (const std::string& column : columns_) values.push_back(jsonOf(rows.value(row, column)));
  rows_.push_back(std::move(values));
}

void ViewTable::keepNewest(const std::string& dateColumn, size_t limit) {
  const size_t c = static_cast<size_t>(
      std::find(columns_.begin(), columns_.end(), dateColumn) - columns_.begin());
  std::stable_sort(rows_.begin(), rows_.end(), [c](const auto& a, const auto& b) {
    if (a[c].is_null() || b[c].is_null()) return !a[c].is_null() && b[c].is_null();
    return a[c].template get<std::string>() > b[c].template get<std::string>();
  });
  if (rows_.size() > limit) rows_.resize(limit);
}

void ViewTable::print(std::ostream& out, bool json, size_t width) const {
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
  const size_t count = columns_.size();
  std::vector<size_t> widths(count, 0), values(count, 0);
  for (size_t line = 0; line < cells.size(); ++line) {
    for (size_t c = 0; c < count; ++c) {
      widths[c] = std::max(widths[c], displayWidth(cells[line][c]));
      if (line > 0) values[c] = std::max(values[c], displayWidth(cells[line][c]));
    }
  }
  if (width > 0) {
    std::vector<size_t> texts(count), headers(count), last(count);
    for (size_t c = 0; c < count; ++c) {
      const bool text = textColumns_.count(columns_[c]) > 0;
      last[c] = std::min(widths[c], kLastFloor);
      headers[c] = text ? std::min(widths[c], kTextFloor) : std::max(values[c], last[c]);
      texts[c] = text ? headers[c] : widths[c];
    }
    std::vector<size_t> freeTextsLast = headers;
    for (size_t c = 0; c < count; ++c) {
      if (textColumns_.count(columns_[c]) > 0) freeTextsLast[c] = last[c];
    }
    for (const auto* floors : {&texts, &headers, &freeTextsLast, &last}) {
      narrow(widths, *floors, width);
    }
  }
  for (const auto& line : cells) {
    std::string text;
    for (size_t c = 0; c < count; ++c) {
      const std::string cell = cutToWidth(line[c], widths[c]);
      text += cell;
      if (c + 1 < count) text += std::string(widths[c] - displayWidth(cell) + 2, ' ');
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    out << text << "\n";
  }
}

}  // namespace vornleads::cli
