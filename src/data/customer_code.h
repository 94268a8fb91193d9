// Customer codes for new prospects.
//
// FAT_CLIENTE is keyed by CLIENTE alone, so every company and branch draws from one series:
// the GER_NUMERADOR row EMPRESA 0, REVENDA 0, NUMERADOR 'CLIENTE', TABELA 'FAT_CLIENTE', drawn
// with BuscaProximoNumero in a transaction of its own, through a ReservaNumeros (blocks of codes,
// see numeracao_reserva.h; a lead that rolls back leaves a gap).
// The table is the authority, the counter only the fast path: a DMS adopts the module with
// years of customers numbered by its own programs, imports and older versions, so a counter
// that is missing, null or not past the highest CLIENTE is first moved to one above it, and a
// drawn code that FAT_CLIENTE already holds is never handed out.
#pragma once

#include <cstdint>

#include "vornleads/data/numeracao_reserva.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads {

// A code FAT_CLIENTE does not hold and this series never handed out before, taken from the
// codes `reserva` holds (reserva must work on `connection`). Before each new block the counter
// is put past the highest CLIENTE committed, in one transaction of its own on connection's
// autonomous(), so every block starts above the customers of the day it was drawn (blocks that
// other workers draw later lie above it). Each code is then looked up in FAT_CLIENTE as the
// caller's transaction sees it: a code already taken gives up the rest of its block and a new
// block is drawn. A customer another program commits with the same code in the meantime makes
// the caller's INSERT fail on the key, never a duplicate. Raises VornError naming the counter
// when it cannot be read or moved (for instance a PROXIMO_NUMERO that is not a number), or when
// every attempt collided.
int32_t nextCustomerCode(SqlConnection& connection, ReservaNumeros& reserva);

// The same with a reservation of its own: one code drawn per call.
int32_t nextCustomerCode(SqlConnection& connection);

}  // namespace vornleads
