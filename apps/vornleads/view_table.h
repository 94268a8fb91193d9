// The output of the read-only views: rows of database values printed either as a text table
// (a header of the column names, columns aligned, line breaks inside a value shown as " / ")
// or, with --json, as one JSON array of objects keyed by the column names, in column order.
// Null is an empty cell or JSON null; dates read "yyyy-mm-dd" and date-times
// "yyyy-mm-dd hh:nn:ss" in both forms.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "vornleads/data/sql_value.h"

namespace vornleads::cli {

class ViewTable {
 public:
  explicit ViewTable(std::vector<std::string> columns);

  // One row: the named columns of a row set's row, in this table's column order.
  void add(const SqlRowSet& rows, size_t row);
  size_t size() const { return rows_.size(); }

  void print(std::ostream& out, bool json) const;

 private:
  std::vector<std::string> columns_;
  std::vector<std::vector<nlohmann::ordered_json>> rows_;
};

}  // namespace vornleads::cli
