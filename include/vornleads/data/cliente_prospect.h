// The prospect writer: registers a person known only from a lead as a prospect customer.
//
// GravaClienteProspect numbers the customer from the one series of customer codes that every
// company and branch shares (FAT_CLIENTE is keyed by CLIENTE alone): the GER_NUMERADOR row
// EMPRESA 0, REVENDA 0, NUMERADOR 'CLIENTE', TABELA 'FAT_CLIENTE', drawn in a transaction of
// its own. The new code is above the highest CLIENTE in FAT_CLIENTE when its block was drawn
// and never one FAT_CLIENTE holds: a counter that is missing, null or behind the table is moved
// past it first, so customers numbered before the module or by other programs are never
// collided with. A lead rolled back after
// the draw leaves a gap. It then inserts one FAT_CLIENTE row with PROSPECT 'S':
//   CLIENTE the new code, NOME nome, PROSPECT 'S', CATEGORIA categoria (when 0 or above),
//   DTA_CADASTRO data, EMPRESA_CADASTRO empresa, REVENDA_CADASTRO revenda, VENDEDOR vendedor,
//   ENDERECO .. CEP the seven address texts, E_MAIL_CASA email,
//   DDD_TELEFONE/TELEFONE ddd/telefone (the lead's phone), DDD_CELULAR/CELULAR,
//   DDD_COMERCIAL/TELEFONE_COMERCIAL.
// Empty texts and telephone numbers or area codes below 1 are written as NULL. Text is quoted
// with embedded single quotes doubled (it comes from leads). The caller upper-cases nome.
//
// Success: the new customer code (1 or more), MensagemErroException emptied.
// Failure: any error of the numbering or of the INSERT is caught; the result is 0 and
// MensagemErroException holds the reason (the database's own message for a failed INSERT; a
// text naming the counter when the series cannot be drawn, e.g. a PROXIMO_NUMERO that is not
// a number). With `reserva` (a ReservaNumeros on the same connection, see numeracao_reserva.h)
// the code comes from the codes it holds, so that a caller registering many prospects draws the
// counter once per block; without it every call draws one code. The INSERT runs in the caller's
// transaction, which this routine never begins or ends: after a failure the caller rolls back.
#pragma once

#include <cstdint>
#include <string>

#include "vornleads/data/numeracao_reserva.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/types.h"

namespace vornleads {

namespace Dados {

// The reason of the last failure of GravaClienteProspect on this thread ("" after a success).
extern thread_local std::string MensagemErroException;

}  // namespace Dados

int32_t GravaClienteProspect(SqlConnection& connection, TDateTime data, int32_t empresa,
                             int32_t revenda, int32_t vendedor, int32_t ddd, int32_t telefone,
                             int32_t dddCelular, int32_t celular, int32_t dddComercial,
                             int32_t telefoneComercial, const std::string& nome,
                             const std::string& endereco, const std::string& numeroEndereco,
                             const std::string& complemento, const std::string& bairro,
                             const std::string& cidade, const std::string& uf,
                             const std::string& cep, const std::string& email, int32_t categoria,
                             ReservaNumeros* reserva = nullptr);

}  // namespace vornleads
