// VW AutoService: whether the dealership has the AutoService API switched on, and the paying
// sources of a service order.
//
// Both run on the caller's connection inside the caller's transaction and catch nothing: a
// refused statement raises DatabaseError and the caller rolls back.
#pragma once

#include <cstdint>
#include <string>

#include "vornleads/db/sql_connection.h"

namespace vornleads {

// True exactly when VWB_PARAMETRO has the dealership's row with API_AUTOSERVICE_ATIVA "S".
bool Retorna_AutoService_Ativo(SqlConnection& connection, int32_t Empresa, int32_t Revenda);

// Writes OFI_ORDEM_SERVICO's FONTE_PAGADORA_EXT / _INT / _GAR / _REV of the contact's service
// order, one UPDATE per service request of the contact, in the order the database returns
// them (a later request of the same type overwrites an earlier one). The source of a request:
//   - the customer's category source, when the category marks an insurer or a fleet owner
//     and its source is above 0;
//   - otherwise the attendance insurer's category source if at least 1, else the service
//     type's source if at least 1, else the customer's category source (possibly 0).
// The column follows the request's TIPO_SERVICO_OS: "E", "I", "G", "R". A request with any
// other letter produces an UPDATE without a column, which the database refuses
// (DatabaseError); callers pass only orders whose requests carry one of the four letters.
// Returns the source written last, in decimal ("0" when the contact has no requests and
// nothing was written).
std::string GravaFontePagadoraVW(SqlConnection& connection, int32_t empresa, int32_t revenda,
                                 int32_t contato);

}  // namespace vornleads
