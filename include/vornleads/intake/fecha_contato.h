// FechaContatoCRM: closes one CRM contact (CAC_CONTATO), as the CRM does when a lead linked to
// the contact reaches a final status.
//
// On the connection given (inside the caller's transaction; nothing is begun or committed
// here) it first reads the server version when the dialect is "SQLSERVER" ("select
// SERVERPROPERTY('productversion') VERSAO", the digits before the first "."), then runs
//   UPDATE CAC_CONTATO SET SITUACAO = 'F', DTA_FECHAMENTO = <dataFechamento>,
//          SITUACAO_FECHAMENTO = '<resultado>'
//    WHERE EMPRESA = <empresa> AND REVENDA = <revenda> AND CONTATO = <contato>
// (one line; the date-time literal of the dialect, DataHoraPSql; resultado with embedded
// quotes doubled). resultado is the closing letter: "R" when the lead ended in a sale
// (status 7), "P" otherwise.
//
// Success: returns the SQL Server major version read (-1 for other dialects), for the caller's
// application context.
// Errors: a database error, or a contact that does not exist ("Contato E.R.C não encontrado"),
// raise VornError "Erro ao encerrar o contato para o lead " + leadID + "\r\n" + the message.
#pragma once

#include <cstdint>
#include <string>

#include "vornleads/db/sql_connection.h"
#include "vornleads/types.h"

namespace vornleads {

// The CAC_CONTATO column that receives the closing letter.
inline constexpr char kColunaSituacaoFechamento[] = "SITUACAO_FECHAMENTO";

struct FechamentoContato {
  int32_t empresa = 0;
  int32_t revenda = 0;
  int32_t contato = 0;
  int32_t leadID = 0;     // for the error message
  std::string resultado;  // "R" or "P"
  TDateTime dataFechamento = 0;
};

int32_t FechaContatoCRM(SqlConnection& connection, const FechamentoContato& fechamento);

}  // namespace vornleads
