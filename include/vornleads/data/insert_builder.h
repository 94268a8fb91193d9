// TInsert and MontaSQLInsert: one INSERT statement built from columns and values.
//
// MontaSQLInsert gives exactly
//   "INSERT INTO TABELA (A, B, C) VALUES (1, 'x''y', 1.5)"
// one blank after INTO, after the table name and after VALUES, columns and values separated by
// ", ", in the order the columns were added. Literals: integers in decimal; floats with "."
// and no exponent (a whole value keeps ".0": 3.0); text between single quotes with every
// embedded quote doubled; date-times through DataHoraPSql(value, banco); NULL for
// AddCampoNulo. Raises VornError for a builder without columns and for a float that is not
// finite. The dialect name banco only matters for date-times.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "vornleads/db/sql_value.h"
#include "vornleads/types.h"

namespace vornleads {

class TInsert {
 public:
  TInsert(std::string tabela, std::string banco);

  void AddCampo(const std::string& campo, int32_t valor);
  void AddCampo(const std::string& campo, int64_t valor);
  void AddCampo(const std::string& campo, double valor);
  void AddCampo(const std::string& campo, const std::string& valor);
  void AddCampo(const std::string& campo, const char* valor);
  void AddCampoDataHora(const std::string& campo, TDateTime valor);
  void AddCampoNulo(const std::string& campo);

  const std::string& tabela() const { return tabela_; }
  const std::string& banco() const { return banco_; }
  const std::vector<std::pair<std::string, SqlValue>>& campos() const { return campos_; }

 private:
  std::string tabela_;
  std::string banco_;
  std::vector<std::pair<std::string, SqlValue>> campos_;
};

std::string MontaSQLInsert(const TInsert& insert);

}  // namespace vornleads
