// The seven operations of the leads service, answered from the lead store. Each takes the
// JSON text of its request record and answers the JSON of its reply record; a request that
// cannot be served (bad JSON, unknown lead, missing CPF or dealer number) is answered with a
// Status.Codigo above 0 and a Descricao saying why, never with an exception.
//
// Failure codes: 200 invalid parameters, 201 unknown lead, 203 missing CPF, 204 missing dealer
// number, 205 rescheduling without a date.
#pragma once

#include <string>

#include "json_values.h"
#include "lead_store.h"

namespace vornleads::sandbox {

// Whether the service interface has an operation of that name (case as declared).
bool isServiceOperation(const std::string& name);

// The reply to one call of a known operation. Status updates (AtualizaLeads) change the store.
Json answerCall(LeadStore& store, const std::string& operation, const std::string& parametros);

// The reply of the operation carrying only the given status: an empty lead list for the
// fetches, {"Mensagem": descricao, "Retorno": "ERRO"} for AtualizaLeads.
Json failureReply(const std::string& operation, int codigo, const std::string& descricao);

}  // namespace vornleads::sandbox
