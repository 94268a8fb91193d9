// Pieces shared by the paths of BuscaProximoNumero.
#pragma once

#include <cstdint>
#include <string>

#include "data/host_settings_route.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/error.h"

namespace vornleads::numeracao {

// The named column of the first row, as a dataset reads it: a missing column raises
// "Field 'NAME' not found" even when there is no row; no row (or null) reads as 0.
int64_t campoInteiro(const SqlRowSet& rows, const std::string& column);

// Firebird's answers when another connection drew the same counter at the same moment: the
// drawer that waited must start again from a fresh snapshot.
bool conflitoConcorrente(const DatabaseError& error);

// " where EMPRESA   = 1 and   REVENDA   = 2 and   NUMERADOR = 'X' and   TABELA    = 'T'"
std::string condicaoContador(int32_t empresa, int32_t revenda, const std::string& numerador,
                             const std::string& tabela);

// True when the table's counter lives in a database sequence for this dialect and version.
bool usaSequencia(const std::string& tabela, const std::string& dialeto, int32_t versao);

// The sequence path: looks the sequence up, creates it when missing, draws the numbers.
int32_t numeroSequencia(SqlConnection& connection, UpdateRoute& route, const std::string& dialeto,
                        int32_t empresa, int32_t revenda, const std::string& tabela,
                        const std::string& numerador, int32_t quantidade);

}  // namespace vornleads::numeracao
