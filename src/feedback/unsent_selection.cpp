#include "vornleads/feedback/unsent_selection.h"

namespace vornleads {

std::string integratedBranchesSql() {
  // clang-format off
  return "select EMPRESA, "
         "       REVENDA "
         "  from CAC_PARAMETRO "
         " where UTILIZA_INTEGRACAO_LEADVW = 'S' ";
  // clang-format on
}

std::string unsentUpdatesSql(int32_t empresa, int32_t revenda) {
  // No ordering: rows come as the database gives them, and each unsent row of a lead is
  // resent on its own.
  // clang-format off
  return "select CLC.EMPRESA, "
         "       CLC.REVENDA, "
         "       CLC.CONTATO, "
         "       CLC.ID_LEAD_VW, "
         "       CAL.STATUS_LEAD, "
         "       CAL.USUARIO, "
         "       CAL.DTA_REAGENDAMENTO, "
         "       CAL.DTA_ATUALIZACAO, "
         "       CAL.SEQUENCIA "
         "  from CAC_LEAD_CONTATO CLC, "
         "       CAC_ATUALIZACOES_LEADVW CAL "
         " where CLC.ID_LEAD_VW = CAL.ID_LEAD_VW "
         "   and CAL.ENVIOU = 'N' "
         "   and CLC.INTEGRANDO = 'S' "
         "   and CLC.EMPRESA = " + std::to_string(empresa) +
         "   and CLC.REVENDA = " + std::to_string(revenda);
  // clang-format on
}

std::vector<JournalKey> unsentUpdates(TConexaoSimplificada& conexao) {
  std::vector<JournalKey> keys;
  const auto revendas = conexao.RetornaDataset(integratedBranchesSql());
  for (; !revendas->Eof(); revendas->Next()) {
    const auto linhas = conexao.RetornaDataset(
        unsentUpdatesSql(static_cast<int32_t>(revendas->FieldByName("EMPRESA").asInteger()),
                         static_cast<int32_t>(revendas->FieldByName("REVENDA").asInteger())));
    for (; !linhas->Eof(); linhas->Next()) {
      keys.push_back({linhas->FieldByName("ID_LEAD_VW").asInteger(),
                      static_cast<int32_t>(linhas->FieldByName("SEQUENCIA").asInteger())});
    }
  }
  return keys;
}

}  // namespace vornleads
