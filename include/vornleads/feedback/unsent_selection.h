// What the resend pass (TAtualizaLeadsNaoEnviados) picks up: the queries it runs and, for the
// operator's view, the journal rows they select, in the order the pass will send them.
//
// A row is selected when it is unsent (ENVIOU 'N'), its lead is still integrating
// (CAC_LEAD_CONTATO.INTEGRANDO 'S') and the lead's company/branch has the integration switched
// on. Database failures raise DatabaseError.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vornleads/data/conexao_simplificada.h"

namespace vornleads {

// The companies/branches with the integration switched on (columns EMPRESA, REVENDA).
std::string integratedBranchesSql();
// The unsent rows of one company/branch with everything a resend needs (CLC.EMPRESA,
// CLC.REVENDA, CLC.CONTATO, CLC.ID_LEAD_VW and CAL.STATUS_LEAD, USUARIO, DTA_REAGENDAMENTO,
// DTA_ATUALIZACAO, SEQUENCIA), in the database's order.
std::string unsentUpdatesSql(int32_t empresa, int32_t revenda);

// A journal row: CAC_ATUALIZACOES_LEADVW's key.
struct JournalKey {
  int64_t idLead = 0;
  int32_t sequencia = 0;
};

// The keys of every row the next pass would read, in its order. Read-only.
std::vector<JournalKey> unsentUpdates(TConexaoSimplificada& conexao);

}  // namespace vornleads
