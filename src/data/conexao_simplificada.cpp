#include "vornleads/data/conexao_simplificada.h"

#include <limits>

#include "vornleads/data/geral.h"
#include "vornleads/error.h"

namespace vornleads {

TConexaoSimplificada::TConexaoSimplificada(SqlConnection& connection) : connection_(connection) {}

void TConexaoSimplificada::iniciaTransacao() { connection_.beginTransaction(); }

void TConexaoSimplificada::comitaTransacao() { connection_.commit(); }

void TConexaoSimplificada::rollbackTransacao() { connection_.rollback(); }

bool TConexaoSimplificada::executaDML(const std::string& sql) {
  // -1: the database gives no row count (not a row statement), which counts as done.
  return connection_.execute(sql) != 0;
}

std::string TConexaoSimplificada::executaSQLString(const std::string& sql) {
  const SqlRowSet rows = connection_.query(sql);
  if (rows.rows.empty() || rows.rows.front().empty()) return "";
  return rows.rows.front().front().asString();
}

int32_t TConexaoSimplificada::executaSQLInteger(const std::string& sql) {
  const SqlRowSet rows = connection_.query(sql);
  if (rows.rows.empty() || rows.rows.front().empty()) return -1;
  const int64_t value = rows.rows.front().front().asInteger();
  if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max()) {
    throw ConversionError("\"" + std::to_string(value) + "\" is not a valid integer value");
  }
  return static_cast<int32_t>(value);
}

std::unique_ptr<TClientDataSet> TConexaoSimplificada::RetornaDataset(const std::string& sql,
                                                                     const std::string& tabela,
                                                                     const std::string& /*extra*/) {
  SqlRowSet rows = connection_.query(sql);
  if (tabela.empty()) return std::make_unique<TClientDataSet>(std::move(rows));
  return std::make_unique<TClientDataSet>(std::move(rows), connection_, tabela);
}

std::string TConexaoSimplificada::banco() const { return BuscaBanco(connection_.driverName()); }

}  // namespace vornleads
