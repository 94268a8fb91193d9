// Customer codes for new prospects.
//
// FAT_CLIENTE is keyed by CLIENTE alone, so every company and branch draws from one series:
// the GER_NUMERADOR row EMPRESA 0, REVENDA 0, NUMERADOR 'CLIENTE', TABELA 'FAT_CLIENTE', drawn
// with BuscaProximoNumero in a transaction of its own (a lead that rolls back leaves a gap).
// The table is the authority, the counter only the fast path: a DMS adopts the module with
// years of customers numbered by its own programs, imports and older versions, so a counter
// that is missing, null or not past the highest CLIENTE is first moved to one above it, and a
// drawn code that FAT_CLIENTE already holds is never handed out.
#pragma once

#include <cstdint>

#include "vornleads/data/sql_connection.h"

namespace vornleads {

// A code above every CLIENTE committed in FAT_CLIENTE and never handed out before by this
// series. Reads and the counter's repair run on connection's autonomous(), outside the
// caller's transaction. Raises VornError naming the counter when it cannot be read or moved
// (for instance a PROXIMO_NUMERO that is not a number), or when every attempt collided.
int32_t nextCustomerCode(SqlConnection& connection);

}  // namespace vornleads
