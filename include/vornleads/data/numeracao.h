// Record numbering: the next number, or the first of a block of numbers, of a numbered DMS
// record, per company (empresa) and branch (revenda).
//
// Where the counter lives:
//   - "OFI_PECA_OS" / "OFI_SERVICO_OS": the service order's own PROXIMA_PECA / PROXIMO_SERVICO
//     (numerador is the service-order number as text). Always advances by exactly 1;
//     quantidade and transacao are not used. An unknown service order returns 0.
//   - "GER_LOG_CADASTROS", "GER_OPERACAO", "CAC_CONTATO" on Oracle, or on SQL Server 11 and
//     later: a database sequence named tabela + "E" + empresa + "R" + revenda, created on first
//     use one above the counter table's PROXIMO_NUMERO. The sequence always runs one value
//     ahead of the numbers handed out. quantidade 0 or less on an existing sequence raises the
//     field-not-found VornError ("Field 'PROXIMO_NUMERO' not found").
//   - everything else: the counter table GER_NUMERADOR. A new counter row for one number
//     returns 1 and stores 2; for a block of n it returns n and stores n + 1. Service-invoice
//     batches (FAT_NFSE / LOTE) of a new branch continue branch 1's numbering.
//
// Transactions: with transacao true the counter-table draw runs in a transaction of its own
// of the connection's autonomous() (SqlConnection::autonomous), begun and committed here,
// whatever transaction the caller has open: the counter row is locked only for the draw, and
// a caller that rolls back afterwards leaves a gap in the numbers, never a duplicate. When
// Firebird reports a conflict with a concurrent drawer (update conflict, lock conflict,
// deadlock, or a counter row inserted by another connection at the same moment), the draw is
// rolled back and repeated, up to 100 times and for no more than about 8 seconds; every other
// error rolls it back and reaches the caller. On Firebird the draw's transactions wait at most
// a few seconds for a locked row, so a counter row that the caller's own open transaction
// already updated, or that a transaction waiting for the caller's holds, fails the draw with
// a DatabaseError instead of waiting forever. With transacao false the statements run on
// `connection` itself, inside the caller's transaction if one is open, and errors reach the
// caller as they are.
//
// A caller that numbers many records one at a time reserves blocks through ReservaNumeros
// (numeracao_reserva.h), which draws with this routine.
//
// Remote mode (see host_settings.h): update statements, "create sequence" and this routine's
// own transactions go to the host's application server; queries read `connection`.
//
// Errors: DatabaseError from the connection; VornError when the application server refuses a
// statement; ConversionError for an unreadable SQL Server version.
#pragma once

#include <cstdint>
#include <string>

#include "vornleads/db/sql_connection.h"

namespace vornleads {

int32_t BuscaProximoNumero(SqlConnection& connection, int32_t empresa, int32_t revenda,
                           const std::string& tabela, const std::string& numerador,
                           int32_t quantidade, bool transacao);

// Major version of a SQL Server ("select SERVERPROPERTY('productversion') VERSAO", the digits
// before the first "."); -1 for other dialects or a version text without ".".
int32_t VersaoSqlServer(SqlConnection& connection, const std::string& dialeto);

}  // namespace vornleads
