// The shared CRM contact writers: one new CAC_CONTATO row per call, written as a literal
// INSERT on the caller's connection, inside the caller's transaction (neither form begins or
// commits one). The contact number comes from BuscaProximoNumero (CAC_CONTATO / CONTATO, 1,
// transacao true: inside the caller's transaction the draw joins it). The customer's
// telephones are copied from FAT_CLIENTE when the customer exists; otherwise the five
// telephone columns are NULL and the contact is still written.
//
// Text values are written between single quotes WITHOUT doubling embedded quotes: callers
// pass text without "'" (or already doubled). Neither form is meant for text that comes
// from outside the DMS.
#pragma once

#include <cstdint>
#include <string>

#include "vornleads/db/sql_connection.h"
#include "vornleads/types.h"

namespace vornleads {

namespace Geral {

// Full form: the 37 columns of CAC_CONTATO, the automakers' lead columns left NULL, values
// through AddSQL (an empty text becomes NULL). Telephones: TELEFONE with fewer than 9 digits
// goes to TELEFONE_1 (a longer one only sets MELHOR_TELEFONE 1); CELULAR with fewer than 9
// digits goes to TELEFONE_2.
// Returns the new contact number, or 0 when no number could be drawn (nothing is written).
// Errors are not caught: a refused INSERT raises DatabaseError, and a DtaContato of exactly 0
// raises ConversionError, so that the caller rolls back its transaction.
int32_t NovoContato(SqlConnection& connection, const std::string& Situacao,
                    const std::string& DesContato, const std::string& AtivoPassivo,
                    const std::string& Origem, int32_t Departamento, int32_t TipoContato,
                    int32_t SubTipoContato, int32_t UsuarioAbriu, int32_t UsuarioEncaminhado,
                    int32_t Cliente, int32_t FormaContato, int32_t OrigemTrafego, int32_t Empresa,
                    int32_t Revenda, TDateTime DtaContato);

}  // namespace Geral

namespace Dados {

// The database server's clock: Oracle "select TO_CHAR(SYSDATE, ...) from GER_DBVERSAO ...",
// the other dialects "SELECT CURRENT_TIMESTAMP Campo1 from GER_DBVERSAO ...". Raises VornError
// when GER_DBVERSAO has no qualifying row, DatabaseError when the query fails.
TDateTime DataHora(SqlConnection& connection);

// Short form: 23 columns. DTA_CONTATO is always the server's clock (DataHora); the DtaContato
// argument is kept for the callers' argument list and is not written. Texts are quoted as
// they stand (an empty text is ''); integers are written bare, TipoTrafego below 1 as null.
// Telephones: TELEFONE with fewer than 10 digits goes to TELEFONE_1, CELULAR with fewer than
// 11 digits to TELEFONE_2; MELHOR_TELEFONE is 1 whenever TELEFONE is at least 1.
//
// The eleven integers, in this order: Empresa, Revenda, Departamento, TipoContato,
// SubTipoContato, UsuarioAbriu, UsuarioEncaminhado (both forwarded-user columns), Cliente,
// FormaContato, OrigemTrafego, TipoTrafego. The four texts: Situacao, DesContato,
// AtivoPassivo, Origem.
//
// sql receives the INSERT statement before it is executed (so it is there when the INSERT
// fails), and is left untouched when no statement was built.
// Returns the new contact number, or 0 when no number could be drawn (nothing is written).
// Any database error of the routine is raised again as VornError with the text
// "Erro NovoContato: " + the database's message + " [" + the failing statement + "]".
int32_t NovoContato(SqlConnection& connection, TDateTime DtaContato, const std::string& Situacao,
                    const std::string& DesContato, const std::string& AtivoPassivo,
                    const std::string& Origem, int32_t Empresa, int32_t Revenda,
                    int32_t Departamento, int32_t TipoContato, int32_t SubTipoContato,
                    int32_t UsuarioAbriu, int32_t UsuarioEncaminhado, int32_t Cliente,
                    int32_t FormaContato, int32_t OrigemTrafego, int32_t TipoTrafego,
                    std::string& sql);

// The same without handing the statement back.
int32_t NovoContato(SqlConnection& connection, TDateTime DtaContato, const std::string& Situacao,
                    const std::string& DesContato, const std::string& AtivoPassivo,
                    const std::string& Origem, int32_t Empresa, int32_t Revenda,
                    int32_t Departamento, int32_t TipoContato, int32_t SubTipoContato,
                    int32_t UsuarioAbriu, int32_t UsuarioEncaminhado, int32_t Cliente,
                    int32_t FormaContato, int32_t OrigemTrafego, int32_t TipoTrafego);

}  // namespace Dados

}  // namespace vornleads
