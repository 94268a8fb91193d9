// TConexaoSimplificada: the workers' thin wrapper over a DMS connection.
//
// The wrapper never owns the connection: the connection must outlive it. Every statement
// runs on that connection, so inside iniciaTransacao/comitaTransacao everything the wrapper
// (and every dataset it hands out) writes belongs to the one transaction. Outside a
// transaction each statement takes effect at once. Database failures raise DatabaseError
// (the database's message and the statement); nothing is swallowed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "vornleads/data/client_dataset.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads {

class TConexaoSimplificada {
 public:
  explicit TConexaoSimplificada(SqlConnection& connection);
  TConexaoSimplificada(const TConexaoSimplificada&) = delete;
  TConexaoSimplificada& operator=(const TConexaoSimplificada&) = delete;

  // One transaction at a time on the connection. iniciaTransacao while one is open raises
  // VornError; comitaTransacao and rollbackTransacao without one raise VornError.
  void iniciaTransacao();
  void comitaTransacao();
  void rollbackTransacao();

  // Runs a statement without rows. True when it changed at least one row, or when it is not
  // a row statement (DDL, for instance, where the database reports no count); false when an
  // UPDATE, DELETE or INSERT ... SELECT touched no row.
  bool executaDML(const std::string& sql);

  // First column of the first row as text (SqlValue::asString); "" without a row and for null.
  std::string executaSQLString(const std::string& sql);

  // First column of the first row as an integer (SqlValue::asInteger, which may raise
  // ConversionError for text that is no integer); -1 without a row, 0 for null.
  int32_t executaSQLInteger(const std::string& sql);

  // Runs a query and hands the caller a dataset holding all its rows. With a table name the
  // dataset can be edited and appended to, and Post writes back to that table on this
  // connection (see client_dataset.h). extra is accepted for the host's signature and not used.
  std::unique_ptr<TClientDataSet> RetornaDataset(const std::string& sql,
                                                 const std::string& tabela = "",
                                                 const std::string& extra = "");

  SqlConnection& retornaSQLConnection() { return connection_; }

  // Dialect name of the connection: "INTERBASE", "SQLSERVER", "ORACLE" (BuscaBanco).
  std::string banco() const;

 private:
  SqlConnection& connection_;
};

}  // namespace vornleads
