#include "vornleads/data/insert_builder.h"

#include "data/sql_literal.h"
#include "vornleads/error.h"

namespace vornleads {

TInsert::TInsert(std::string tabela, std::string banco)
    : tabela_(std::move(tabela)), banco_(std::move(banco)) {}

void TInsert::AddCampo(const std::string& campo, int32_t valor) {
  campos_.emplace_back(campo, SqlValue::integer(valor));
}

void TInsert::AddCampo(const std::string& campo, int64_t valor) {
  campos_.emplace_back(campo, SqlValue::integer(valor));
}

void TInsert::AddCampo(const std::string& campo, double valor) {
  campos_.emplace_back(campo, SqlValue::real(valor));
}

void TInsert::AddCampo(const std::string& campo, const std::string& valor) {
  campos_.emplace_back(campo, SqlValue::text(valor));
}

void TInsert::AddCampo(const std::string& campo, const char* valor) {
  campos_.emplace_back(campo, SqlValue::text(valor == nullptr ? "" : valor));
}

void TInsert::AddCampoDataHora(const std::string& campo, TDateTime valor) {
  campos_.emplace_back(campo, SqlValue::dateTime(valor));
}

void TInsert::AddCampoNulo(const std::string& campo) { campos_.emplace_back(campo, SqlValue()); }

std::string MontaSQLInsert(const TInsert& insert) {
  if (insert.campos().empty()) {
    throw VornError("No column to insert into " + insert.tabela());
  }
  std::string columns;
  std::string values;
  for (const auto& [campo, valor] : insert.campos()) {
    if (!columns.empty()) {
      columns += ", ";
      values += ", ";
    }
    columns += campo;
    values += SqlLiteral(valor, insert.banco());
  }
  return "INSERT INTO " + insert.tabela() + " (" + columns + ") VALUES (" + values + ")";
}

}  // namespace vornleads
