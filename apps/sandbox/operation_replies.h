// Pieces shared by the operations: the status member and the per-kind answers.
#pragma once

#include <string>

#include "json_values.h"
#include "lead_store.h"

namespace vornleads::sandbox {

inline constexpr int kInvalidParameters = 200;
inline constexpr int kLeadNotFound = 201;
inline constexpr int kMissingCpf = 203;
inline constexpr int kMissingDealer = 204;
inline constexpr int kMissingRescheduleDate = 205;

// {"Codigo":codigo,"Descricao":descricao,"Versao":"1.0"}
Json statusMember(int codigo, const std::string& descricao);

// Fetch operations (every operation but AtualizaLeads) on an already parsed request object.
Json answerFetch(const LeadStore& store, const std::string& operation, const Json& request);

// AtualizaLeads on an already parsed request object.
Json answerUpdate(LeadStore& store, const Json& request);

}  // namespace vornleads::sandbox
