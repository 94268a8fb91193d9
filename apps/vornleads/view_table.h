// The output of the read-only views: rows of database values printed either as a text table
// (a header of the column names, columns aligned, line breaks inside a value shown as " / ")
// or, with --json, as one JSON array of objects keyed by the column names, in column order.
// Null is an empty cell or JSON null; dates read "yyyy-mm-dd" and date-times
// "yyyy-mm-dd hh:nn:ss" in both forms.
//
// A table given a width keeps every line within it: cells are cut with "…" as needed, the
// free-text columns first (down to 20 columns), then the headers wider than their values,
// then the free texts further, and only then values of the other columns. JSON is never cut.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "vornleads/db/sql_value.h"

namespace vornleads::cli {

class ViewTable {
 public:
  // textColumns: the columns of free text (names, error descriptions), cut first.
  explicit ViewTable(std::vector<std::string> columns, std::set<std::string> textColumns = {});

  // One row: the named columns of a row set's row, in this table's column order.
  void add(const SqlRowSet& rows, size_t row);
  size_t size() const { return rows_.size(); }

  // Keeps the `limit` rows with the latest value of dateColumn, newest first; rows without a
  // date come last, rows of one date keep their order.
  void keepNewest(const std::string& dateColumn, size_t limit);

  // width 0: no cut.
  void print(std::ostream& out, bool json, size_t width) const;

 private:
  std::vector<std::string> columns_;
  std::set<std::string> textColumns_;
  std::vector<std::vector<nlohmann::ordered_json>> rows_;
};

// Width on a terminal: UTF-8 continuation bytes take no column.
size_t displayWidth(const std::string& text);

// text cut to `width` columns, its last one "…", when it is wider; whole otherwise.
std::string cutToWidth(const std::string& text, size_t width);

}  // namespace vornleads::cli
